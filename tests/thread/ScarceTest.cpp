// A reader/writer lock for which memory runs out.

#include <new>

#include "tests/scripted/ScarceMemory.h"
#include "tests/thread/Waiting.h"
#include "thread/ZRWLock.h"

namespace tlk::test {
namespace {

// Whether taking a side again throws, with no memory, and leaves what its thread has.
bool IsRefused(ZMutexBase& side) {
  MemoryLimit none;
  none.Set(0, kEveryTime);
  const LimitedMemory limited(&none);
  try {
    static_cast<void>(side.Acquire());
    return false;
  } catch (const std::bad_alloc&) {
    return side.IsHeld();
  }
}

TEST(ZRWLockWithoutMemory, StaysAsItIsAndIsTakenAgainLater) {
  for (const bool isWriter : {false, true}) {
    ZRWLock lock;
    ZMutexBase& read = lock.ReadSide();
    ZMutexBase& side = isWriter ? static_cast<ZMutexBase&>(lock.WriteSide()) : read;
    ASSERT_EQ(side.Acquire(), LockResult::kAcquired);
    EXPECT_TRUE(IsRefused(side));
    EXPECT_EQ(read.Acquire(), LockResult::kAcquired);
    read.Release();
    side.Release();
    EXPECT_FALSE(read.IsHeld());
    // Nobody counts any more: another thread may write at once.
    std::async(std::launch::async, [&] {
      EXPECT_EQ(lock.WriteSide().Acquire(), LockResult::kAcquired);
      lock.WriteSide().Release();
    }).get();
  }
}

}  // namespace
}  // namespace tlk::test
