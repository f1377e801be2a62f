#include "platform/posix/PosixThread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>

#include "thread/ZThread.h"

namespace tlk {
namespace {

TEST(PosixThread, LeavesTheHostsSignalsToTheHost) {
  sigset_t inside;
  sigset_t outside;
  const auto thread =
      PosixThread::Create([&inside] { pthread_sigmask(SIG_SETMASK, nullptr, &inside); });
  thread->Resume();
  ASSERT_EQ(thread->Wait(kNoLimit), WaitResult::kSignalled);
  ASSERT_EQ(pthread_sigmask(SIG_SETMASK, nullptr, &outside), 0);
  EXPECT_EQ(sigismember(&inside, SIGTERM), 1);
  EXPECT_EQ(sigismember(&inside, SIGSEGV), 0);
  EXPECT_EQ(sigismember(&outside, SIGTERM), 0);
}

// It used to end the process, by way of what catches every exception or lets none through.
TEST(PosixThread, EndsLikeAReturnWhenItsWorkCallsPthreadExit) {
  struct Leaver final : ZThread {
    Leaver() : ZThread("leaver") {}
    void Run() override { pthread_exit(nullptr); }
  };
  testing::internal::CaptureStderr();
  auto* const leaver = new Leaver;  // It destroys itself.
  const auto handle = leaver->Handle();
  leaver->Start();
  EXPECT_EQ(handle->Wait(kNoLimit), WaitResult::kSignalled);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace tlk
