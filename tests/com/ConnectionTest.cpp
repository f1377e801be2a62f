#include <cstdlib>

#include "tests/com/ContainerFixture.h"
#include "tests/com/ProcessHoldings.h"

namespace tlk {
namespace {

class ConnectionTest : public ContainerTest {
 protected:
  void SetUp() override {
    m_embedded.Advise(m_listener);
    m_embedded.Connect(m_peer);
  }

  LoopbackPeer m_peer;
};

// The number of a closed socket may go to the next one.
TEST_F(ConnectionTest, ALateWordDoesNotEndTheNextConnection) {
  const UINT notify = RegisterWindowMessageW(L"Tlkc:wsnotify");
  MSG word;
  GetMessageW(&word, m_embedded.Window(), notify, notify);
  m_embedded.control->Disconnect();
  for (WPARAM socket = 4; socket <= word.wParam + 1024; socket += 4)
    PostMessageW(word.hwnd, notify, socket, WSAMAKESELECTREPLY(FD_CLOSE, WSAECONNRESET));
  m_embedded.Connect(m_peer);
  m_peer.Send(ServerMessage("New"));
  EXPECT_TRUE(PumpUntil([&] { return m_listener.calls.ends_with("<Data/>"); }));
  EXPECT_EQ(m_listener.calls, "status 3 status 0 status 3 New <Data/>");
}

TEST_F(ConnectionTest, OutlivesTheWindow) {
  for (const bool properly : {true, false}) {
    m_listener.calls.clear();
    properly ? m_embedded.As<IOleInPlaceObject>()->InPlaceDeactivate()
             : DestroyWindow(m_embedded.Window());
    ASSERT_EQ(m_embedded.Window(), nullptr);
    m_peer.Send(ServerMessage("Old"));
    ASSERT_EQ(m_embedded.Do(OLEIVERB_SHOW), S_OK);
    EXPECT_NE(KillTimer(m_embedded.Window(), 0x52ED92), FALSE) << "the keep-alive timer";
    EXPECT_TRUE(PumpUntil([&] { return !m_listener.calls.empty(); }));
    EXPECT_EQ(m_listener.calls, "Old <Data/>");
  }
}

TEST_F(ConnectionTest, EndsWithTheProcess) {
  m_listener.awaited = "status 0";
  m_listener.during = [] { ExitProcess(17); };
  EXPECT_EXIT(std::exit(17), testing::ExitedWithCode(17), "") << "by the runtime";
  EXPECT_EXIT(ExitProcess(17), testing::ExitedWithCode(17), "") << "by the system";
  EXPECT_EXIT(m_embedded.control->Disconnect(), testing::ExitedWithCode(17), "") << "in an event";
}

TEST_F(ConnectionTest, AThousandLeaveNothingBehind) {
  ExpectToLeaveNothing([&](int number) {
    Site listener;
    Embedded embedded(m_module);
    embedded.Advise(listener);
    embedded.Connect(m_peer);
    std::string expected = "status 3";
    for (int i = 0; i < 3; ++i) {
      const std::string type = std::to_string(100 + (3 * number + i) % 900);
      m_peer.Send(ServerMessage(type));
      expected.append(" ").append(type).append(" <Data/>");
      ASSERT_TRUE(PumpUntil([&] { return listener.calls == expected; })) << listener.calls;
      ASSERT_EQ(embedded.control->SendTLKMsg(Bstr(L"Back").Get(), Bstr(L"<a/>").Get()), S_OK);
      std::string received;
      ASSERT_TRUE(PumpUntil([&] {
        received += m_peer.ReadSome(4096);
        return received.find("</TLK_Message>") != received.npos;
      }));
    }
    if (number % 3 == 0) return;  // The container goes while it is connected.
    number % 3 == 1 ? (void)embedded.control->Disconnect() : m_peer.Close();
    expected += " status 0";
    ASSERT_TRUE(PumpUntil([&] { return listener.calls == expected; })) << listener.calls;
  });
}

}  // namespace
}  // namespace tlk
