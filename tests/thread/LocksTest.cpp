#include <atomic>
#include <memory>

#include "tests/thread/ThreadFixture.h"
#include "thread/Deadline.h"
#include "thread/ZLocker.h"
#include "thread/ZMutex.h"
#include "thread/ZMutexComposite.h"
#include "thread/ZThread.h"

namespace tlk::test {

using enum LockResult;
using ZSemaphoreTest = ThreadFixture;

TEST_F(ZSemaphoreTest, ServesWhoeverCameFirst) {
  ZSemaphore semaphore("semaphore", 2);
  auto timed = StartWaiter(semaphore, 1, [&] { return semaphore.Wait(9, 5'000); });
  auto first = StartWaiter(semaphore, 2, [&] { return semaphore.Wait(3, kForever); });
  auto between = StartWaiter(semaphore, 3, [&] { return semaphore.Wait(9, 5'000); });
  auto second = StartWaiter(semaphore, 4, [&] { return semaphore.Wait(1, kForever); });
  EXPECT_EQ(semaphore.Wait(1, -1), kTimedOut);  // Two are there, but not for whoever comes last.
  EXPECT_TRUE(semaphore.Signal(1) && !semaphore.Signal(ZSemaphore::kMaxCount - 2));
  surroundings.Sleep(6);
  EXPECT_TRUE(timed.get() == kTimedOut && between.get() == kTimedOut && first.get() == kAcquired);
  EXPECT_TRUE(semaphore.Signal(ZSemaphore::kMaxCount) && second.get() == kAcquired);
  EXPECT_TRUE(!semaphore.Signal(2) && semaphore.Wait(ZSemaphore::kMaxCount - 1, 0) == kAcquired);
}

TEST_F(ZSemaphoreTest, WaitsInStepsWhereTheSystemRefusesEvents) {
  ZSemaphore semaphore("semaphore", 0);
  for (const std::int64_t limit : {1, 1'500}) {
    system.anyCall.Fail(1);
    EXPECT_EQ(semaphore.Wait(1, limit), kTimedOut);
  }
  EXPECT_EQ(surroundings.Sleeps(), std::vector<std::uint32_t>(2 + 3, 1));
  system.anyCall.Fail(1);
  auto waiter = StartWaiter(semaphore, 1, [&] { return semaphore.Wait(1, kForever); });
  EXPECT_TRUE(semaphore.Signal(1) && waiter.get() == kAcquired);
}

TEST_F(ZSemaphoreTest, HasLimitsThatTheClockDoesNotCutShort) {
  const std::int64_t most = kForever - ZThread::TickMicroseconds() - 1'001;
  const std::pair<std::int64_t, std::uint32_t> milliseconds[] = {
      {-1, 0}, {0, 0}, {1, 2}, {1'000, 2}, {1'001, 3}, {most, kNoLimit - 1}, {kForever, kNoLimit}};
  for (const auto& [limit, left] : milliseconds)
    EXPECT_EQ(Deadline(limit).MillisecondsLeft(), left);
  EXPECT_EQ(Deadline(0).MicrosecondsLeft(), 0);
  const Deadline deadline(1'000);
  for (const std::uint32_t left : {2U, 1U, 0U}) {
    EXPECT_EQ(deadline.MillisecondsLeft(), left);
    surroundings.Sleep(1);
  }
}

// What the mutex protects is plain, so that the thread sanitizer sees what the locks do.
TEST(LocksTest, LoseAndMakeNoUnits) {
  ZSemaphore semaphore("semaphore", 5);
  ZMutex mutex("mutex");
  int inUse = 0;
  RunOnThreads(5, [&](int n) {
    for (const int end = n + 2'000; n < end; ++n) {
      const int units = n % 5 + 1;
      if (semaphore.Wait(units, n % 7 == 0 ? kForever : n % 3) != kAcquired) continue;
      EXPECT_LE((ZLocker(mutex), inUse += units), 5);
      std::this_thread::yield();
      EXPECT_GE((ZLocker(mutex), inUse -= units), 0);
      EXPECT_TRUE(semaphore.Signal(units));
    }
  });
  EXPECT_TRUE(semaphore.Wait(5, 0) == kAcquired && semaphore.Wait(1, 0) == kTimedOut);
}

TEST(LocksTest, EndWhileLimitsRunOutAndUnitsCome) {
  for (int round = 0; round < 300; ++round) {
    auto semaphore = std::make_unique<ZSemaphore>("semaphore", 0);
    std::atomic<int> ended = 0;
    const auto wait = [&ended, waited = semaphore.get()](int n) {
      const LockResult result = waited->Wait(n + 1, n == 2 ? kForever : n * 500 + 500);
      EXPECT_TRUE(n < 2 || result == kDestroyed);  // Nobody gives three units.
      ++ended;
    };
    std::jthread waiters([&] { RunOnThreads(3, wait); });
    EXPECT_TRUE(Eventually([&] {
      const int gone = ended;
      return gone + semaphore->Waiters() == 3;
    }));
    std::this_thread::sleep_for(std::chrono::microseconds(round % 50 * 60));
    semaphore->Signal(2);
    semaphore.reset();
  }
}

TEST(LocksTest, HandAMutexOverWithAllHoldsOfItsOwner) {
  ZMutex mutex("mutex", CreatedHeld::kYes);
  bool isReady = false;
  EXPECT_EQ(mutex.Acquire(0), kAcquired);
  const auto other = StartWaiter(mutex, 1, [&] {
    EXPECT_TRUE(!mutex.IsHeld() && mutex.ReleaseFully() == 0 && mutex.Acquire(0) == kTimedOut);
    isReady = ZLocker(mutex).HoldsLock();
  });
  while (!isReady) {
    EXPECT_TRUE(mutex.ReleaseFully() == 2 && mutex.Reacquire(0) == kAcquired && !mutex.IsHeld());
    EXPECT_TRUE(mutex.Reacquire(2) == kAcquired && mutex.IsHeld());
  }
  EXPECT_TRUE(mutex.ReleaseFully() == 2 && mutex.Reacquire(1) == kAcquired && mutex.IsHeld());
  RunOnThreads(1, [&](int) { mutex.Release(); });  // Nobody asks whose it is.
  EXPECT_TRUE(!mutex.IsHeld() && mutex.Acquire(0) == kAcquired);
}

TEST(LocksTest, AreGivenBackByACompositeWhenOneRunsOutOrIsDestroyed) {
  ZMutex first("first");
  auto last = std::make_unique<ZMutex>("last", CreatedHeld::kYes);
  ZMutex& gone = *last;
  ZMutexComposite all("all", {&first, &gone});
  EXPECT_EQ(Elsewhere([&] { return all.Acquire(1'000); }), kTimedOut);
  EXPECT_TRUE(all.Acquire() == kAcquired && all.IsHeld() && first.IsHeld());
  all.Release();
  ZMutexComposite none("none", {});
  EXPECT_TRUE(none.Acquire(0) == kAcquired && !none.IsHeld());
  EXPECT_FALSE(Elsewhere([&] { return all.IsHeld(); }));
  auto composite = StartWaiter(gone, 1, [&] { return all.Acquire(3'600'000'000); });
  auto quiet = StartWaiter(gone, 2, [&] { return ZLocker(gone).HoldsLock(); });
  auto throwing = StartWaiter(gone, 3, [&] { ZLocker(gone, OnFailure::kThrow); });
  last.reset();
  EXPECT_TRUE(composite.get() == kDestroyed && !quiet.get() && first.Acquire(0) == kAcquired);
  EXPECT_THROW(throwing.get(), ZThread::Disposed);
}

}  // namespace tlk::test
