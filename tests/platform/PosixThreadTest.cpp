#include "platform/posix/PosixThread.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "platform/posix/PosixSynchronisation.h"
#include "platform/posix/ThreadContext.h"

namespace tlk {
namespace {

TEST(PosixThread, LeavesTheHostsSignalsToTheHost) {
  sigset_t before;
  ASSERT_EQ(pthread_sigmask(SIG_SETMASK, nullptr, &before), 0);
  sigset_t inside;
  sigemptyset(&inside);
  const auto thread =
      PosixThread::Create([&inside] { pthread_sigmask(SIG_SETMASK, nullptr, &inside); });
  thread->Resume();
  ASSERT_EQ(thread->Wait(kNoLimit), WaitResult::kSignalled);
  for (const int signal : {SIGINT, SIGTERM, SIGCHLD, SIGALRM, SIGPIPE, SIGUSR1})
    EXPECT_EQ(sigismember(&inside, signal), 1) << signal;
  EXPECT_EQ(sigismember(&inside, SIGSEGV), 0);
  sigset_t after;
  ASSERT_EQ(pthread_sigmask(SIG_SETMASK, nullptr, &after), 0);
  EXPECT_EQ(sigismember(&after, SIGINT), sigismember(&before, SIGINT));
}

TEST(PosixThread, TellsWhyNoneCouldBeMade) {
  pthread_attr_t usual;
  ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
  pthread_attr_t unfillable = usual;
  ASSERT_EQ(pthread_attr_setstacksize(&unfillable, size_t{1} << 50), 0);
  ASSERT_EQ(pthread_setattr_default_np(&unfillable), 0);
  PosixSynchronisation synchronisation;
  const auto thread = synchronisation.NewThread([] {});
  const int error = synchronisation.LastError();
  ASSERT_EQ(pthread_setattr_default_np(&usual), 0);
  EXPECT_EQ(thread, nullptr);
  EXPECT_EQ(error, EAGAIN);
}

TEST(PosixThread, HasAnotherNumberInAForkedChild) {
  const std::uint32_t parents = CurrentThreadNumber();
  EXPECT_EQ(parents, static_cast<std::uint32_t>(gettid()));
  const pid_t child = fork();
  if (child == 0) _exit(CurrentThreadNumber() == static_cast<std::uint32_t>(gettid()) ? 0 : 1);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace tlk
