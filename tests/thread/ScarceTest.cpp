// A reader/writer lock for which memory runs out.

#include <new>

#include "tests/scripted/ScarceMemory.h"
#include "tests/thread/Waiting.h"
#include "thread/ZRWLock.h"

namespace tlk::test {

<<<<<<< HEAD
TEST(ZRWLockWithoutMemory, StaysAsItIsAndIsTakenAgainLater) {
  for (const bool isWriter : {false, true}) {
    ZRWLock lock;
    ZMutexBase& read = lock.ReadSide();
    ZMutexBase* const side = isWriter ? static_cast<ZMutexBase*>(&lock.WriteSide()) : &read;
    ASSERT_EQ(side->Acquire(), LockResult::kAcquired);
    MemoryLimit none;
    none.Set(0, kEveryTime);
    t_memoryLimit = &none;
    EXPECT_THROW(static_cast<void>(side->Acquire()), std::bad_alloc);
    t_memoryLimit = nullptr;
    EXPECT_TRUE(side->IsHeld());
    EXPECT_EQ(read.Acquire(), LockResult::kAcquired);
    read.Release();
    side->Release();
    EXPECT_FALSE(read.IsHeld());
    // Nobody counts any more: another thread may write at once.
    EXPECT_EQ(Elsewhere([&] { return lock.WriteSide().Acquire(); }), LockResult::kAcquired);
  }
=======
TEST(ZRWLockWithoutMemory, StaysAsItIs) {
  ZRWLock lock;
  ZMutexBase& read = lock.ReadSide();
  ASSERT_EQ(read.Acquire(), LockResult::kAcquired);
  MemoryLimit none;
  none.Set(0, kEveryTime);
  SetMemoryLimit(&none);
  EXPECT_THROW(static_cast<void>(read.Acquire()), std::bad_alloc);
  SetMemoryLimit(nullptr);
  read.Release();
  // Nobody counts any more: another thread may write at once.
  EXPECT_EQ(Elsewhere([&] { return lock.WriteSide().Acquire(); }), LockResult::kAcquired);
>>>>>>> 11f54f7 (Test all locks in one place)
}

}  // namespace tlk::test
