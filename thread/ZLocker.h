#pragma once

#include <cstdint>

#include "thread/ZMutexBase.h"

namespace tlk {

/// What a locker does that finds its lock destroyed.
enum class OnFailure : bool { kReturn = false, kThrow = true };

/// Has a lock for a scope. Any result of the lock but `kDestroyed` counts as a hold.
class ZLocker {
 public:
  /// Takes the lock, however long that lasts. A lock destroyed meanwhile is not held; if asked to,
  /// the locker then throws `ZThread::Disposed`.
  explicit ZLocker(ZMutexBase& lock, OnFailure onFailure = OnFailure::kReturn);
  ZLocker(const ZLocker&) = delete;
  ZLocker& operator=(const ZLocker&) = delete;

  /// Releases the lock once for each hold.
  ~ZLocker();

  /// Takes the lock once more; it throws nothing of its own.
  LockResult Acquire();

  /// Whether it has the lock.
  [[nodiscard]] bool HoldsLock() const { return fHolds > 0; }

 private:
  ZMutexBase& fLock;
  std::uint32_t fHolds = 0;
};

}  // namespace tlk
