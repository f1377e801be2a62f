#include "platform/posix/PosixThread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <csignal>

#include "platform/Platform.h"
#include "thread/ZThread.h"

namespace tlk {

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

TEST(PosixThread, TellsWhyTheSystemHasNone) {
  pthread_attr_t usual;
  pthread_getattr_default_np(&usual);
  pthread_attr_t boundless = usual;
  pthread_attr_setstacksize(&boundless, std::size_t{1} << 60);
  pthread_setattr_default_np(&boundless);
  EXPECT_EQ(PosixThread::Create([] {}), nullptr);
  EXPECT_EQ(SystemPlatform().synchronisation.LastError(), EAGAIN);
  pthread_setattr_default_np(&usual);
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

}  // namespace tlk
