#include <atomic>
#include <memory>

#include "tests/thread/ThreadFixture.h"
#include "thread/Deadline.h"
#include "thread/ZLocker.h"
#include "thread/ZMutex.h"
#include "thread/ZMutexComposite.h"
#include "thread/ZRWLock.h"
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

struct ZRWLockTest : testing::Test {
  std::unique_ptr<ZRWLock> lock = std::make_unique<ZRWLock>();
  ZRWLock::Read& read = lock->ReadSide();
  ZRWLock::Write& write = lock->WriteSide();

  /// What the calling thread holds.
  [[nodiscard]] std::string Held() const {
    return std::string(read.IsHeld() ? "read " : "") + (write.IsHeld() ? "write" : "");
  }
};

// Taken once, it is told by one word; taken twice, by its fields, and still when it is given back.
TEST_F(ZRWLockTest, IsHeldByItsThreadUntilEachHoldIsGivenBack) {
  for (ZMutexBase* const side : std::initializer_list<ZMutexBase*>{&read, &write, &read}) {
    const std::string held = side == &write ? "read write" : "read ";
    EXPECT_EQ(Held(), "");
    for (ZMutexBase* const again : std::initializer_list<ZMutexBase*>{side, &read}) {
      EXPECT_EQ(side->Acquire(), kAcquired);
      EXPECT_EQ(Held(), held);
      EXPECT_EQ(again->Acquire(), kAcquired);
      EXPECT_EQ(Held(), held);
      EXPECT_EQ(Elsewhere([&] { return Held(); }), "");
      again->Release();
      EXPECT_EQ(Held(), held);
      read.Release();  // Whichever side is released.
    }
  }
}

TEST_F(ZRWLockTest, LetsInAWriterAndThenAtOnceTheReadersBehindIt) {
  for (const int readers : {3, 0, 1, 3}) {
    int written = 0;
    std::atomic<int> inside = 0;
    std::vector<std::future<void>> waiters;
    EXPECT_EQ(read.Acquire(), kAcquired);
    waiters.push_back(StartWaiter(*lock, 1, [&] {
      ZLocker writer(write);
      EXPECT_TRUE(ZLocker(read).HoldsLock() && writer.Acquire() == kAcquired);
      EXPECT_EQ(Held(), "read write");
      ++written;
    }));
    for (int n = 1; n <= readers; ++n) {
      waiters.push_back(StartWaiter(*lock, n + 1, [&] {
        const ZLocker reader(read);
        ++inside;
        EXPECT_TRUE(Eventually([&] { return inside == readers; }) && written == 1);
        EXPECT_EQ(Held(), "read ");
      }));
    }
    EXPECT_TRUE(ZLocker(read).HoldsLock() && written == 0);  // Reading already, it need not wait.
    EXPECT_EQ(Held(), "read ");
    read.Release();
  }
}

// Such a writer protects no data from those who read, which the thread sanitizer would rightly call
// a race. So this test touches none, and the stress test below sets its writers no limit.
TEST_F(ZRWLockTest, IsTakenByAWriterWhoseLimitRunsOut) {
  const ZLocker reader(read);
  EXPECT_TRUE(Elsewhere([&] { return ZLocker(read).HoldsLock(); }));
  EXPECT_EQ(Elsewhere([&] { return write.Acquire(1'000) == kAcquired ? Held() : ""; }),
            "read write");
  EXPECT_EQ(Held(), "read ");
}

TEST_F(ZRWLockTest, ThrowsToThoseWhoWaitWhenItIsDestroyed) {
  EXPECT_EQ(write.Acquire(), kAcquired);
  auto first = StartWaiter(*lock, 1, [&] { return read.Acquire(0); });  // Its limit is not used.
  auto second = StartWaiter(*lock, 2, [&] { return read.Acquire(); });
  auto writer = StartWaiter(*lock, 3, [&] { return write.Acquire(3'600'000'000); });
  lock.reset();
  for (auto* waiter : {&first, &second, &writer}) EXPECT_THROW(waiter->get(), ZThread::Disposed);
}

// What the locks protect is plain, so that the thread sanitizer sees what they do.
TEST_F(ZRWLockTest, ProtectsPlainDataAndSemaphoresLoseAndMakeNoUnits) {
  ZSemaphore semaphore("semaphore", 5);
  ZMutex mutex("mutex");
  int inUse = 0;
  int taken = 0;
  RunOnThreads(5, [&](int n) {
    for (const int end = n + 2'000; n < end; ++n) {
      ZLocker locker(n % 4 == 0 ? static_cast<ZMutexBase&>(write) : read);
      EXPECT_TRUE(n % 3 != 0 || locker.Acquire() == kAcquired);
      EXPECT_LE(n % 4 == 0 ? ++taken : taken, 2'500);
    }
    for (const int end = n + 2'000; n < end; ++n) {
      const int units = n % 5 + 1;
      if (semaphore.Wait(units, n % 7 == 0 ? kForever : n % 3) != kAcquired) continue;
      EXPECT_LE((ZLocker(mutex), inUse += units), 5);
      std::this_thread::yield();
      EXPECT_GE((ZLocker(mutex), inUse -= units), 0);
      EXPECT_TRUE(semaphore.Signal(units));
    }
  });
  EXPECT_EQ(taken, 2'500);
  EXPECT_TRUE(semaphore.Wait(5, 0) == kAcquired && semaphore.Wait(1, 0) == kTimedOut);
}

}  // namespace tlk::test
