#include "thread/SemaphoreWaiter.h"

#include <new>

#include "platform/Surroundings.h"
#include "platform/Synchronisation.h"
#include "thread/Deadline.h"
#include "thread/ThreadLayer.h"

namespace tlk {

namespace {

constexpr auto kUnsettled = static_cast<LockResult>(-1);
constexpr std::uint32_t kStepWithoutEvent = 1;

std::unique_ptr<SystemEvent> EventOrNull() {
  try {
    return ThreadLayer::Ports().synchronisation.NewEvent(ResetMode::kAutomatic, false);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

SemaphoreWaiter::SemaphoreWaiter(std::uint32_t need)
    : fNeed(need), fOutcome(kUnsettled), fEvent(EventOrNull()) {}

SemaphoreWaiter::~SemaphoreWaiter() = default;

// Relaxed, for this orders nothing: the spin word and the waking do.
bool SemaphoreWaiter::Settle(LockResult outcome) {
  LockResult before = kUnsettled;
  return fOutcome.compare_exchange_strong(before, outcome, std::memory_order_relaxed);
}

LockResult SemaphoreWaiter::Outcome() const { return fOutcome.load(std::memory_order_relaxed); }

void SemaphoreWaiter::Wake() {
  if (fEvent != nullptr) {
    fEvent->Set();
  } else {
    fIsAwake.store(true, std::memory_order_release);
  }
}

bool SemaphoreWaiter::SleepUntil(const Deadline& deadline) {
  for (;;) {
    const std::uint32_t milliseconds = deadline.MillisecondsLeft();
    if (milliseconds == 0) return false;
    if (Sleep(milliseconds)) return true;
  }
}

bool SemaphoreWaiter::Sleep(std::uint32_t milliseconds) {
  const WaitResult result = fEvent != nullptr ? fEvent->Wait(milliseconds) : WaitResult::kFailed;
  if (result == WaitResult::kFailed) ThreadLayer::Ports().surroundings.Sleep(kStepWithoutEvent);
  return result == WaitResult::kSignalled || fIsAwake.load(std::memory_order_acquire);
}

void WaiterQueue::PushBack(SemaphoreWaiter& waiter) {
  waiter.fPrevious = fBack;
  waiter.fNext = nullptr;
  (fBack != nullptr ? fBack->fNext : fFront) = &waiter;
  fBack = &waiter;
  waiter.fIsQueued = true;
  ++fSize;
}

SemaphoreWaiter& WaiterQueue::PopFront() {
  SemaphoreWaiter& waiter = *fFront;
  static_cast<void>(Remove(waiter));
  return waiter;
}

bool WaiterQueue::Remove(SemaphoreWaiter& waiter) {
  if (!waiter.fIsQueued) return false;
  (waiter.fPrevious != nullptr ? waiter.fPrevious->fNext : fFront) = waiter.fNext;
  (waiter.fNext != nullptr ? waiter.fNext->fPrevious : fBack) = waiter.fPrevious;
  waiter.fIsQueued = false;
  --fSize;
  return true;
}

void WaiterQueue::WakeAll() {
  while (!IsEmpty()) PopFront().Wake();
}

}  // namespace tlk
