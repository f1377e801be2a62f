#include "tests/com/ContainerFixture.h"

#include <process.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace tlk {
namespace {

constexpr UINT kStatus = 17;
using ConnectionTest = ContainerTest;

TEST_F(ConnectionTest, FailsWithoutAWindowToNotify) {
  const std::wstring logFile = FileBesideTest(L"TLK_Client.log");
  DeleteFileW(logFile.c_str());
  const LoopbackPeer peer;
  m_embedded.Advise(m_listener);
  EXPECT_EQ(m_embedded.ConnectTo(peer), 0);
  EXPECT_EQ(m_listener.heard, "status 0;");
  std::string log;
  EXPECT_TRUE(PumpUntil([&] {
    std::ifstream file(logFile.c_str());
    log = {std::istreambuf_iterator<char>(file), {}};
    return log.find("E Async Select failed. Err num = 10022 (Tlkc - 207)") != log.npos;
  })) << log;
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
