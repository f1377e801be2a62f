#include "thread/ZLocker.h"

#include "thread/ZThread.h"

namespace tlk {

ZLocker::ZLocker(ZMutexBase& lock, OnFailure onFailure) : fLock(lock) {
  const LockResult result = Acquire();
  if (result == LockResult::kDestroyed && onFailure == OnFailure::kThrow) throw ZThread::Disposed();
}

ZLocker::~ZLocker() {
  for (; fHolds > 0; --fHolds) fLock.Release();
}

LockResult ZLocker::Acquire() {
  const LockResult result = fLock.Acquire();
  if (result != LockResult::kDestroyed) ++fHolds;
  return result;
}

}  // namespace tlk
