#include <cstdlib>

#include "tests/com/ContainerFixture.h"

namespace tlk {
namespace {

using ConnectionTest = ContainerTest;

TEST_F(ConnectionTest, FailsWithoutAWindowToNotify) {
  const LoopbackPeer peer;
  m_embedded.Advise(m_listener);
  EXPECT_EQ(m_embedded.ConnectTo(peer), 0);
  EXPECT_EQ(m_listener.heard, "status 0;");
}

// The number of a closed socket may go to the next one.
TEST_F(ConnectionTest, ALateWordDoesNotEndTheNextConnection) {
  const UINT notify = RegisterWindowMessageW(L"Tlkc:wsnotify");
  LoopbackPeer peer;
  m_embedded.Advise(m_listener);
  m_embedded.Connect(peer);
  MSG word;
  GetMessageW(&word, m_embedded.Window(), notify, notify);
  m_embedded.control->Disconnect();
  for (WPARAM socket = 4; socket <= word.wParam + 1024; socket += 4)
    PostMessageW(word.hwnd, notify, socket, WSAMAKESELECTREPLY(FD_CLOSE, WSAECONNRESET));
  m_embedded.Connect(peer);
  peer.Send(ServerMessage("Next"));
  EXPECT_TRUE(PumpUntil([&] { return m_listener.heard.ends_with("<Data/>;"); }));
  EXPECT_EQ(m_listener.heard, "status 3;status 0;status 3;Next <Data/>;");
}

TEST_F(ConnectionTest, OutlivesTheWindow) {
  LoopbackPeer peer;
  m_embedded.Advise(m_listener);
  m_embedded.Connect(peer);
  for (const bool properly : {true, false}) {
    m_listener.heard.clear();
    properly ? m_embedded.As<IOleInPlaceObject>()->InPlaceDeactivate()
             : DestroyWindow(m_embedded.Window());
    ASSERT_EQ(m_embedded.Window(), nullptr);
    peer.Send(ServerMessage("Late"));
    ASSERT_EQ(m_embedded.Do(OLEIVERB_SHOW), S_OK);
    EXPECT_NE(KillTimer(m_embedded.Window(), 0x52ED92), FALSE) << "the keep-alive timer";
    EXPECT_TRUE(PumpUntil([&] { return !m_listener.heard.empty(); }));
    EXPECT_EQ(m_listener.heard, "Late <Data/>;");
  }
}

TEST_F(ConnectionTest, EndsWithTheProcess) {
  LoopbackPeer peer;
  m_embedded.Advise(m_listener);
  m_embedded.Connect(peer);
  m_listener.during = [] { ExitProcess(17); };
  EXPECT_EXIT(std::exit(17), testing::ExitedWithCode(17), "") << "by the runtime";
  EXPECT_EXIT(ExitProcess(17), testing::ExitedWithCode(17), "") << "by the system";
  EXPECT_EXIT(m_embedded.control->Disconnect(), testing::ExitedWithCode(17), "") << "in an event";
}

}  // namespace
}  // namespace tlk
