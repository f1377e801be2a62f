#include "platform/posix/PosixThread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>

#include "thread/ZThread.h"

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

// It used to end the process, by way of what catches every exception or lets none through.
TEST(PosixThread, EndsLikeAReturnWhenItsWorkCallsPthreadExit) {
  struct Leaver final : ZThread {
    explicit Leaver(bool& isGone) : ZThread("leaver"), m_isGone(isGone) {}
    ~Leaver() override { m_isGone = true; }
    void Run() override { pthread_exit(nullptr); }
    bool& m_isGone;
  };
  bool isGone = false;
  testing::internal::CaptureStderr();
  auto* const leaver = new Leaver(isGone);
  const auto handle = leaver->Handle();
  leaver->Start();
  EXPECT_EQ(handle->Wait(kNoLimit), WaitResult::kSignalled);
  EXPECT_TRUE(isGone);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace tlk
