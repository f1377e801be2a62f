#include "thread/ZSemaphore.h"

#include "platform/Surroundings.h"
#include "thread/Deadline.h"
#include "thread/ThreadLayer.h"
#include "thread/ZThread.h"

namespace tlk {

ZSemaphore::ZSemaphore(const char* name, std::int32_t count)
    : fName(name), fInitial(static_cast<std::uint32_t>(std::max(count, 0))), fWord(fInitial) {}

ZSemaphore::~ZSemaphore() {
  WaiterQueue destroyed;
  {
    const SpinLock lock(fSpin);
    while (!fQueue.IsEmpty()) {
      static_cast<void>(PopAndSettle(LockResult::kDestroyed, destroyed));
    }
  }
  destroyed.WakeAll();
  while (HasLeavers()) ThreadLayer::Ports().surroundings.Sleep(1);
}

LockResult ZSemaphore::WaitOrThrow(std::int32_t units, std::int64_t limit) {
  const LockResult result = Wait(units, limit);
  if (result == LockResult::kDestroyed) throw ZThread::Disposed();
  return result;
}

LockResult ZSemaphore::WaitInTurn(std::int32_t units, std::int64_t limit) {
  if (limit <= 0) return LockResult::kTimedOut;
  const Deadline deadline(limit);
  SemaphoreWaiter self(static_cast<std::uint32_t>(units));
  if (IsServedAtOnce(self)) return LockResult::kAcquired;
  if (self.SleepUntil(deadline)) return self.Outcome();
  if (self.Settle(LockResult::kTimedOut)) {
    Leave(self);
  } else {
    // Somebody was faster and is about to wake this thread.
    static_cast<void>(self.SleepUntil(Deadline(kForever)));
  }
  return self.Outcome();
}

bool ZSemaphore::SignalInTurn(std::uint32_t units) {
  bool fits = false;
  WaiterQueue served;
  {
    const SpinLock lock(fSpin);
    const std::uint32_t count = TakeWord();
    fits = units <= kMaxCount - count;
    served = Serve(fits ? count + units : count);
  }
  served.WakeAll();
  return fits;
}

std::int32_t ZSemaphore::Waiters() const {
  const SpinLock lock(fSpin);
  return fQueue.Size();
}

// Those in the queue before it cannot be served, or they would have been: only the new waiter can.
// Afterwards others may settle its wait, and its thread goes on only when they have woken it: until
// then they still touch it.
bool ZSemaphore::IsServedAtOnce(SemaphoreWaiter& waiter) {
  const SpinLock lock(fSpin);
  const std::uint32_t count = TakeWord();
  fQueue.PushBack(waiter);
  return !Serve(count).IsEmpty();
}

// Those behind the waiter may need fewer units, and be served now that it is gone.
void ZSemaphore::Leave(SemaphoreWaiter& waiter) {
  WaiterQueue served;
  {
    const SpinLock lock(fSpin);
    const std::uint32_t count = TakeWord();
    if (!fQueue.Remove(waiter)) --fLeavers;
    served = Serve(count);
  }
  served.WakeAll();
}

bool ZSemaphore::HasLeavers() const {
  const SpinLock lock(fSpin);
  return fLeavers > 0;
}

// Keeps those out who change the word without the spin word, and tells the count.
std::uint32_t ZSemaphore::TakeWord() {
  return fWord.fetch_or(kContended, std::memory_order_acquire) & ~kContended;
}

bool ZSemaphore::PopAndSettle(LockResult outcome, WaiterQueue& settled) {
  SemaphoreWaiter& waiter = fQueue.PopFront();
  const bool isFirst = waiter.Settle(outcome);
  if (isFirst) {
    settled.PushBack(waiter);
  } else {
    ++fLeavers;
  }
  return isFirst;
}

// Gives the word back, too, when nobody waits any more. The store releases: who takes what is left
// of the units sees what those did who gave them.
WaiterQueue ZSemaphore::Serve(std::uint32_t count) {
  WaiterQueue served;
  while (!fQueue.IsEmpty() && fQueue.Front().Need() <= count) {
    const std::uint32_t need = fQueue.Front().Need();
    if (PopAndSettle(LockResult::kAcquired, served)) count -= need;
  }
  fWord.store(fQueue.IsEmpty() ? count : count | kContended, std::memory_order_release);
  return served;
}

}  // namespace tlk
