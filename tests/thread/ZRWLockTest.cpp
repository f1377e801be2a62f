#include "thread/ZRWLock.h"

#include "tests/thread/Waiting.h"
#include "thread/ZLocker.h"
#include "thread/ZThread.h"

namespace tlk::test {

using enum LockResult;

struct ZRWLockTest : testing::Test {
  std::unique_ptr<ZRWLock> lock = std::make_unique<ZRWLock>();
  ZRWLock::Read& read = lock->ReadSide();
  ZRWLock::Write& write = lock->WriteSide();
};

TEST_F(ZRWLockTest, LetsInAWriterAndThenAtOnceTheReadersBehindIt) {
  int written = 0;
  std::atomic<int> inside = 0;
  std::vector<std::future<void>> waiters;
  EXPECT_EQ(read.Acquire(), kAcquired);
  waiters.push_back(StartWaiter(*lock, 1, [&] {
    ZLocker writer(write);
    EXPECT_TRUE(ZLocker(read).HoldsLock() && writer.Acquire() == kAcquired && read.IsHeld());
    ++written;
  }));
  for (int n = 2; n <= 4; ++n) {
    waiters.push_back(StartWaiter(*lock, n, [&] {
      const ZLocker reader(read);
      ++inside;
      ExpectSoon([&] { return inside == 3; });
      EXPECT_TRUE(written == 1 && read.IsHeld() && !write.IsHeld());
    }));
  }
  EXPECT_TRUE(ZLocker(read).HoldsLock() && written == 0);  // Reading already, it need not wait.
  read.Release();
}

// Such a writer protects no data from those who read, which the thread sanitizer would rightly call
// a race. So this test touches none, and the stress test below sets its writers no limit.
TEST_F(ZRWLockTest, IsTakenByAWriterWhoseLimitRunsOut) {
  EXPECT_TRUE(ZLocker(write).HoldsLock());
  const ZLocker reader(read);
  RunOnThreads(1, [&](int) { EXPECT_TRUE(ZLocker(read).HoldsLock()); });
  RunOnThreads(1, [&](int) { EXPECT_TRUE(write.Acquire(1'000) == kAcquired && write.IsHeld()); });
  EXPECT_TRUE(read.IsHeld() && !write.IsHeld());
}

TEST_F(ZRWLockTest, ThrowsToThoseWhoWaitWhenItIsDestroyed) {
  EXPECT_EQ(write.Acquire(), kAcquired);
  auto first = StartWaiter(*lock, 1, [&] { return read.Acquire(0); });  // Its limit is not used.
  auto second = StartWaiter(*lock, 2, [&] { return read.Acquire(); });
  auto writer = StartWaiter(*lock, 3, [&] { return write.Acquire(3'600'000'000); });
  lock.reset();
  for (auto* waiter : {&first, &second, &writer}) EXPECT_THROW(waiter->get(), ZThread::Disposed);
}

TEST_F(ZRWLockTest, ProtectsPlainData) {
  int written = 0;
  RunOnThreads(4, [&](int seed) {
    for (int n = seed; n < seed + 2'000; ++n) {
      ZLocker locker(n % 4 == 0 ? static_cast<ZMutexBase&>(write) : read);
      if (n % 4 == 0) ++written;
      EXPECT_TRUE(n % 3 != 0 || locker.Acquire() == kAcquired);
      EXPECT_LE(written, 2'000);
    }
  });
  EXPECT_EQ(written, 2'000);
}

}  // namespace tlk::test
