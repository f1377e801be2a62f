// Named mutexes between processes. Children tell by their exit status what went wrong.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/posix/PosixSynchronisation.h"

namespace tlk {
namespace {

pid_t StartChild(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) _exit(work());
  return child;
}

int StatusOf(pid_t child) {
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

class PosixNamedMutexTest : public testing::Test {
 protected:
  [[nodiscard]] std::unique_ptr<SystemMutex> Open() {
    return m_synchronisation.OpenNamedMutex(m_name.c_str());
  }
  [[nodiscard]] std::unique_ptr<SystemMutex> New() {
    return m_synchronisation.NewNamedMutex(m_name.c_str());
  }

  /// Lets another process take the mutex and crash.
  void CrashWhileHolding() {
    const pid_t child = StartChild([this] {
      const auto own = New();
      if (own == nullptr || own->Wait(0) != WaitResult::kSignalled) return 1;
      if (access(m_file.c_str(), F_OK) != 0) return 2;
      return raise(SIGKILL);
    });
    EXPECT_EQ(WTERMSIG(StatusOf(child)), SIGKILL);
  }

  const std::string m_name = "test" + std::to_string(getpid());
  const std::string m_file = "/dev/shm/tlkc2-" + std::to_string(geteuid()) + "/mutex." + m_name;
  PosixSynchronisation m_synchronisation;
};

TEST_F(PosixNamedMutexTest, IsAbandonedByAProcessThatCrashes) {
  const auto mutex = New();
  CrashWhileHolding();
  EXPECT_EQ(mutex->Wait(kNoLimit), WaitResult::kAbandoned);
  EXPECT_TRUE(mutex->Release());
  EXPECT_EQ(mutex->Wait(0), WaitResult::kSignalled);
}

TEST_F(PosixNamedMutexTest, LeavesNothingBehindACrash) {
  CrashWhileHolding();
  EXPECT_EQ(Open(), nullptr);
  CrashWhileHolding();
  EXPECT_EQ(New()->Wait(0), WaitResult::kSignalled);

  // Files of shared memory used to pile up, one for each name that a process had open at its end.
  CrashWhileHolding();
  const auto another = m_synchronisation.NewNamedMutex((m_name + "another").c_str());
  EXPECT_NE(another, nullptr);
  EXPECT_NE(access(m_file.c_str(), F_OK), 0);
}

TEST_F(PosixNamedMutexTest, StaysWhenAForkedChildClosesItsCopy) {
  auto mutex = New();
  EXPECT_EQ(StatusOf(StartChild([&mutex] { return mutex.reset(), 0; })), 0);
  EXPECT_EQ(StatusOf(StartChild([this] { return Open() != nullptr ? 0 : 1; })), 0);
}

TEST_F(PosixNamedMutexTest, KeepsProcessesApartWhileTheNameComesAndGoes) {
  constexpr int kChildren = 4;
  constexpr int kRounds = 2'000;
  void* memory =
      mmap(nullptr, sizeof(long), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  auto* counter = static_cast<volatile long*>(memory);
  const auto count = [&] {
    for (int n = 0; n < kRounds; ++n) {
      const auto mutex = New();
      if (mutex == nullptr || mutex->Wait(kNoLimit) != WaitResult::kSignalled) return 1;
      const long before = *counter;
      sched_yield();
      *counter = before + 1;
      if (!mutex->Release()) return 2;
    }
    return 0;
  };
  std::vector<pid_t> children(kChildren);
  for (pid_t& child : children) child = StartChild(count);
  for (const pid_t child : children) EXPECT_EQ(StatusOf(child), 0);
  EXPECT_EQ(*counter, kChildren * kRounds);
  EXPECT_EQ(Open(), nullptr);
  munmap(memory, sizeof(long));
}

}  // namespace
}  // namespace tlk
