#include "thread/ZRWLock.h"

#include <string>

#include "tests/thread/Waiting.h"
#include "thread/ZLocker.h"
#include "thread/ZThread.h"

namespace tlk::test {

using enum LockResult;

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

TEST_F(ZRWLockTest, ProtectsPlainData) {
  int written = 0;
  RunOnThreads(4, [&](int seed) {
    for (int n = seed; n < seed + 2'000; ++n) {
      const bool isWriter = n % 4 == 0;
      ZLocker locker(isWriter ? static_cast<ZMutexBase&>(write) : read);
      EXPECT_TRUE(n % 3 != 0 || locker.Acquire() == kAcquired);
      EXPECT_LE(isWriter ? ++written : written, 2'000);
    }
  });
  EXPECT_EQ(written, 2'000);
}

}  // namespace tlk::test
