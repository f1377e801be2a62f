// Named mutexes between processes. Children tell by their exit status what went wrong.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "platform/posix/PosixSynchronisation.h"
#include "platform/posix/RobustMutex.h"

namespace tlk {

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

struct PosixNamedMutexTest : testing::Test {
  [[nodiscard]] std::unique_ptr<SystemMutex> Open() const {
    return PosixSynchronisation().OpenNamedMutex(m_name.c_str());
  }
  [[nodiscard]] std::unique_ptr<SystemMutex> New(const std::string& more = "") const {
    return PosixSynchronisation().NewNamedMutex((m_name + more).c_str());
  }
  [[nodiscard]] std::string PathOf(const std::string& more = "") const {
    return m_folder + std::to_string(geteuid()) + "/mutex." + m_name + more;
  }
  [[nodiscard]] bool HasFile(const std::string& more = "") const {
    return std::filesystem::exists(PathOf(more));
  }

  /// Lets another process take the mutex and crash.
  void CrashWhileHolding() {
    const pid_t child = StartChild([this] {
      const auto own = New();
      if (own == nullptr || own->Wait(0) != WaitResult::kSignalled || !HasFile()) return 1;
      return raise(SIGKILL);
    });
    EXPECT_EQ(WTERMSIG(StatusOf(child)), SIGKILL);
  }

  const std::string m_name = "test" + std::to_string(getpid());
  const std::string m_folder = "/dev/shm/tlkc2-";
};

// Files of shared memory used to pile up, one for each name that a process had open at its end.
TEST_F(PosixNamedMutexTest, IsAbandonedByAProcessThatCrashesWhichLeavesNothingBehind) {
  auto mutex = New();
  CrashWhileHolding();
  EXPECT_EQ(mutex->Wait(kNoLimit), WaitResult::kAbandoned);
  EXPECT_TRUE(mutex->Release());
  EXPECT_EQ(mutex->Wait(0), WaitResult::kSignalled);
  mutex.reset();
  CrashWhileHolding();
  EXPECT_EQ(Open(), nullptr);
  CrashWhileHolding();
  EXPECT_EQ(New()->Wait(0), WaitResult::kSignalled);
  CrashWhileHolding();
  const auto another = New("/09:@AZ[`az{");
  EXPECT_TRUE(HasFile("%2F09%3A%40AZ%5B%60az%7B"));
  EXPECT_FALSE(HasFile());
}

TEST_F(PosixNamedMutexTest, StaysUntilThisProcessHasLetGo) {
  auto mutex = New();
  const auto openAnew = [&] { return mutex.reset(), Open() != nullptr ? 0 : errno; };
  EXPECT_EQ(StatusOf(StartChild(openAnew)), 0);
  std::filesystem::resize_file(PathOf(), sizeof(RobustMutex) + 1);
  EXPECT_EQ(WEXITSTATUS(StatusOf(StartChild(openAnew))), EINVAL);
  std::filesystem::resize_file(PathOf(), sizeof(RobustMutex));
  std::thread([&] {
    EXPECT_EQ(mutex->Wait(0), WaitResult::kSignalled);
    std::thread([&mutex] { mutex.reset(); }).join();
    EXPECT_TRUE(HasFile()) << "while a thread holds it";
  }).join();
  New("another").reset();
  EXPECT_FALSE(HasFile());

  // What another process holds is its own business.
  mutex = New();
  const pid_t child =
      StartChild([&mutex] { return static_cast<void>(mutex->Wait(kNoLimit)), pause(); });
  while (mutex->Wait(0) != WaitResult::kTimedOut) EXPECT_TRUE(mutex->Release());
  mutex.reset();
  kill(child, SIGKILL);
  StatusOf(child);
  EXPECT_EQ(Open(), nullptr);
}

TEST_F(PosixNamedMutexTest, IsRefusedInAFolderThatOthersMayWriteTo) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  const uid_t user = 1'000'000 + static_cast<uid_t>(getpid());
  const std::string folder = m_folder + std::to_string(user);
  ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
  const std::tuple<uid_t, mode_t, int> folders[] = {
      {0, 0755, EACCES}, {user, 0720, EACCES}, {user, 0702, EACCES}, {user, 0755, 0}};
  for (const auto& [owner, rights, error] : folders) {
    ASSERT_EQ(chown(folder.c_str(), owner, owner) + chmod(folder.c_str(), rights), 0);
    const pid_t child = StartChild([&] {
      if (setresuid(user, user, user) != 0) return 1;
      return New() != nullptr ? 0 : PosixSynchronisation().LastError();
    });
    EXPECT_EQ(WEXITSTATUS(StatusOf(child)), error);
  }
  std::filesystem::remove_all(folder);
}

}  // namespace tlk
