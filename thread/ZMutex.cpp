#include "thread/ZMutex.h"

namespace tlk {

ZMutex::ZMutex(const char* name, CreatedHeld createdHeld)
    : ZMutexBase(name),
      fOwner(createdHeld == CreatedHeld::kYes ? CallingThread() : kNobody),
      fRecursion(createdHeld == CreatedHeld::kYes ? 1 : 0),
      fSemaphore(name, createdHeld == CreatedHeld::kYes ? 0 : 1) {}

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

}  // namespace tlk
