#include "thread/ZMutex.h"

#include "thread/CallingThread.h"

namespace tlk {

namespace {

constexpr std::uint32_t kNobody = 0;

}  // namespace

ZMutex::ZMutex(const char* name, CreatedHeld createdHeld)
    : ZMutexBase(name),
      fOwner(createdHeld == CreatedHeld::kYes ? CallingThread() : kNobody),
      fSemaphore(name, createdHeld == CreatedHeld::kYes ? 0 : 1),
      fRecursion(createdHeld == CreatedHeld::kYes ? 1 : 0) {}

LockResult ZMutex::Acquire(std::int64_t limit) {
  const std::uint32_t self = CallingThread();
  if (fOwner.load(std::memory_order_relaxed) != self) {
    const LockResult result = fSemaphore.Wait(1, limit);
    if (result != LockResult::kAcquired) return result;
    fOwner.store(self, std::memory_order_relaxed);
  }
  ++fRecursion;
  return LockResult::kAcquired;
}

void ZMutex::Release() noexcept {
  if (--fRecursion == 0) Free();
}

bool ZMutex::IsHeld() const { return fOwner.load(std::memory_order_relaxed) == CallingThread(); }

std::int32_t ZMutex::ReleaseFully() {
  if (!IsHeld()) return 0;
  const std::uint32_t holds = fRecursion;
  fRecursion = 0;
  Free();
  return static_cast<std::int32_t>(holds);
}

LockResult ZMutex::Reacquire(std::int32_t holds) {
  if (holds < 1) return LockResult::kAcquired;
  const LockResult result = ZMutex::Acquire();
  if (result == LockResult::kAcquired) fRecursion += static_cast<std::uint32_t>(holds - 1);
  return result;
}

void ZMutex::Free() {
  fOwner.store(kNobody, std::memory_order_relaxed);
  fSemaphore.Signal(1);
}

}  // namespace tlk
