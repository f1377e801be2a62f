#include "tests/com/ContainerFixture.h"

#include <cstdlib>

namespace tlk {
namespace {

constexpr UINT kStatus = 17;

using ProcessEndTest = EmbeddedTest;

// For a process of its own, which it ends in the way that an environment variable names.
TEST_F(ProcessEndTest, DISABLED_EndsConnected) {
  const std::string way = std::getenv("TLKC2_TEST_END");
  LoopbackPeer peer;
  m_embedded.Advise(m_listener);
  m_embedded.Connect(peer);
  m_listener.during = [] { ExitProcess(kStatus); };
  if (way == "inside an event") m_embedded.control->Disconnect();
  if (way == "by the runtime") std::exit(kStatus);
  ExitProcess(way == "by the system" ? kStatus : 1);
}

TEST_F(ProcessEndTest, NeedsNoReleaseOfTheControl) {
  std::wstring command = FileBesideTest(L"container_test.exe") +
                         L" --gtest_also_run_disabled_tests --gtest_filter=*DISABLED_EndsConnected";
  for (const char* way : {"by the runtime", "by the system", "inside an event"}) {
    SetEnvironmentVariableA("TLKC2_TEST_END", way);
    STARTUPINFOW start{};
    PROCESS_INFORMATION child{};
    ASSERT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &start, &child));
    EXPECT_EQ(WaitForSingleObject(child.hProcess, 60000), WAIT_OBJECT_0) << way;
    TerminateProcess(child.hProcess, 1);  // Only one that hangs is still there.
    DWORD status = 0;
    EXPECT_TRUE(GetExitCodeProcess(child.hProcess, &status));
    EXPECT_EQ(status, kStatus) << way;
    CloseHandle(child.hThread);
    CloseHandle(child.hProcess);
  }
}

}  // namespace
}  // namespace tlk
