#include "tests/com/ContainerFixture.h"

#include <process.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace tlk {
namespace {

constexpr UINT kStatus = 17;

class ConnectionTest : public ContainerTest {
 protected:
  /// Whether the trace log has this by and by.
  static bool Logged(const std::string& record) {
    return PumpUntil([&] {
      std::ifstream file(FileBesideTest(L"TLK_Client.log").c_str());
      return std::string(std::istreambuf_iterator<char>(file), {}).find(record) != record.npos;
    });
  }

  const UINT m_notify = RegisterWindowMessageW(L"Tlkc:wsnotify");
};

TEST_F(ConnectionTest, FailsWithoutAWindowToNotify) {
  const std::wstring logFile = FileBesideTest(L"TLK_Client.log");
  DeleteFileW(logFile.c_str());
  const LoopbackPeer peer;
  m_embedded.Advise(m_listener);
  EXPECT_EQ(m_embedded.ConnectTo(peer), 0);
  EXPECT_EQ(m_listener.heard, "status 0;");
  EXPECT_TRUE(Logged("E Async Select failed. Err num = 10022 (Tlkc - 207)"));
}

// The number of a closed socket may go to the next one, which must not hear what was meant for it.
TEST_F(ConnectionTest, AnswersWhateverIsPosted) {
  enum Handled { kConnected, kLate, kWhenConnectedAgain };
  const struct {
    int event;
    int error;
    Handled handled;
    const char* heard;
    const char* record = "";
  } rows[] = {
      {FD_READ, 0, kConnected, ""},
      {FD_READ, WSAECONNRESET, kConnected, "status 0;", "E Connection was reset."},
      {FD_WRITE, WSAECONNREFUSED, kConnected, "status 0;", "E Connection was refused."},
      {FD_CLOSE, WSAECONNABORTED, kConnected, "status 0;", "E Connection was aborted."},
      {FD_CONNECT, 0, kConnected, "status 3;", "N Connect succeeded."},
      {FD_CONNECT, 10060, kConnected, "status 0;", "E Unknown Err. Closing connection. 10060"},
      {FD_OOB, 0, kConnected, "", "N Unknown Event %d."},
      {FD_READ, 0, kLate, "status 0;"},
      {FD_CLOSE, 0, kLate, "status 0;status 0;", "N Connection closed."},
      {FD_CLOSE, WSAECONNRESET, kWhenConnectedAgain, "status 0;status 3;"}};
  m_embedded.Advise(m_listener);
  for (const auto& [event, error, handled, heard, record] : rows) {
    SCOPED_TRACE(testing::Message() << event << ' ' << error << ' ' << handled);
    LoopbackPeer peer;
    m_embedded.Connect(peer);
    MSG word;
    GetMessageW(&word, m_embedded.Window(), m_notify, m_notify);
    DispatchMessageW(&word);
    m_listener.heard.clear();
    // Any number within reach may be that of the next socket.
    const SocketHandle reach = handled == kWhenConnectedAgain ? 1024 : 0;
    for (auto socket = reach == 0 ? word.wParam : 4; socket <= word.wParam + reach; socket += 4)
      PostMessageW(m_embedded.Window(), m_notify, socket, WSAMAKESELECTREPLY(event, error));
    if (handled != kConnected) m_embedded.control->Disconnect();
    if (handled == kWhenConnectedAgain) m_embedded.Connect(peer);
    EXPECT_TRUE(PumpUntil([&] {
      return !PeekMessageW(&word, m_embedded.Window(), m_notify, m_notify, PM_NOREMOVE);
    }));
    EXPECT_EQ(m_listener.heard, heard);
    EXPECT_TRUE(Logged(record));
    m_embedded.control->Disconnect();
  }
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

// For a process of its own, which it ends in the way that an environment variable names.
TEST_F(ConnectionTest, DISABLED_EndsTheProcess) {
  const std::string way = std::getenv("TLKC2_TEST_END");
  LoopbackPeer peer;
  m_embedded.Advise(m_listener);
  m_embedded.Connect(peer);
  m_listener.during = [] { ExitProcess(kStatus); };
  if (way == "inside an event") m_embedded.control->Disconnect();
  if (way == "by the runtime") std::exit(kStatus);
  ExitProcess(way == "by the system" ? kStatus : 1);
}

TEST_F(ConnectionTest, EndsWithTheProcess) {
  for (const char* way : {"by the runtime", "by the system", "inside an event"}) {
    SetEnvironmentVariableA("TLKC2_TEST_END", way);
    const auto process = reinterpret_cast<HANDLE>(_wspawnl(
        _P_NOWAIT, FileBesideTest(L"container_test.exe").c_str(), L"container_test",
        L"--gtest_also_run_disabled_tests", L"--gtest_filter=*DISABLED_EndsTheProcess", nullptr));
    EXPECT_EQ(WaitForSingleObject(process, 60000), WAIT_OBJECT_0) << way;
    TerminateProcess(process, 1);  // Only one that hangs is still there.
    DWORD status = 0;
    EXPECT_TRUE(GetExitCodeProcess(process, &status));
    EXPECT_EQ(status, kStatus) << way;
    CloseHandle(process);
  }
}

}  // namespace
}  // namespace tlk
