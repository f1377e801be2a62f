// A reader/writer lock for which memory runs out.

#include <new>

#include "tests/scripted/ScarceMemory.h"
#include "tests/thread/Waiting.h"
#include "thread/ZRWLock.h"

namespace tlk::test {

TEST(ZRWLockWithoutMemory, StaysAsItIs) {
  ZRWLock lock;
  ZMutexBase& read = lock.ReadSide();
  ASSERT_EQ(read.Acquire(), LockResult::kAcquired);
  MemoryLimit none{.allowed = 0, .refusals = kEveryTime};
  EXPECT_THROW(Within(none, [&] { return read.Acquire(); }), std::bad_alloc);
  read.Release();
  // Nobody counts any more: another thread may write at once.
  EXPECT_EQ(Elsewhere([&] { return lock.WriteSide().Acquire(); }), LockResult::kAcquired);
}

}  // namespace tlk::test
