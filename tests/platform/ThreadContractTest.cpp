// What every platform's threads hold to.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"

namespace tlk {
namespace {

Synchronisation& System() { return SystemPlatform().synchronisation; }

TEST(ThreadContract, RunsItsWorkOnceItIsResumed) {
  std::atomic<int> runs = 0;
  std::atomic<std::uint32_t> idInside = 0;
  const auto thread = System().NewThread([&] {
    ++runs;
    idInside = System().CurrentThreadId();
  });
  ASSERT_NE(thread, nullptr);
  EXPECT_EQ(thread->Wait(30), WaitResult::kTimedOut);
  EXPECT_EQ(runs, 0);
  thread->Resume();
  EXPECT_EQ(thread->Wait(kNoLimit), WaitResult::kSignalled);
  EXPECT_EQ(thread->Wait(0), WaitResult::kSignalled);
  EXPECT_EQ(runs, 1);
  EXPECT_NE(idInside, 0U);
  EXPECT_EQ(idInside, thread->Id());
  EXPECT_NE(thread->Id(), System().CurrentThreadId());
}

TEST(ThreadContract, NeverRunsWhenItIsDestroyedBeforeItIsResumed) {
  std::atomic<bool> hasRun = false;
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = held;
  {
    const auto thread = System().NewThread([&hasRun, held] { hasRun = *held == 1; });
    ASSERT_NE(thread, nullptr);
    held.reset();
    EXPECT_FALSE(watch.expired());
  }
  EXPECT_FALSE(hasRun);
  EXPECT_TRUE(watch.expired());
}

TEST(ThreadContract, RunsOnWhenItIsDestroyedAfterItWasResumed) {
  const auto mayEnd = System().NewEvent(ResetMode::kAutomatic, false);
  const auto hasEnded = System().NewEvent(ResetMode::kAutomatic, false);
  auto thread = System().NewThread([&] {
    EXPECT_EQ(mayEnd->Wait(kNoLimit), WaitResult::kSignalled);
    hasEnded->Set();
  });
  thread->Resume();
  thread.reset();
  mayEnd->Set();
  EXPECT_EQ(hasEnded->Wait(60'000), WaitResult::kSignalled);
}

TEST(ThreadContract, HasAbandonedItsMutexesOnceItHasEnded) {
  const auto mutex = System().NewMutex();
  for (int i = 0; i < 50; ++i) {
    const auto thread =
        System().NewThread([&] { EXPECT_NE(mutex->Wait(kNoLimit), WaitResult::kFailed); });
    thread->Resume();
    ASSERT_EQ(thread->Wait(kNoLimit), WaitResult::kSignalled);
    ASSERT_EQ(mutex->Wait(0), WaitResult::kAbandoned);
    ASSERT_TRUE(mutex->Release());
  }
}

}  // namespace
}  // namespace tlk
