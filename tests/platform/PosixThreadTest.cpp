#include "platform/posix/PosixThread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>

namespace tlk {
namespace {

TEST(PosixThread, LeavesTheHostsSignalsToTheHost) {
  sigset_t inside;
  sigemptyset(&inside);
  const auto thread =
      PosixThread::Create([&inside] { pthread_sigmask(SIG_SETMASK, nullptr, &inside); });
  thread->Resume();
  ASSERT_EQ(thread->Wait(kNoLimit), WaitResult::kSignalled);
  EXPECT_EQ(sigismember(&inside, SIGTERM), 1);
  EXPECT_EQ(sigismember(&inside, SIGSEGV), 0);
  sigset_t outside;
  ASSERT_EQ(pthread_sigmask(SIG_SETMASK, nullptr, &outside), 0);
  EXPECT_EQ(sigismember(&outside, SIGTERM), 0);
}

}  // namespace
}  // namespace tlk
