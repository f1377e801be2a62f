#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/Export.h"
#include "thread/LockResult.h"

namespace tlk {

class Deadline;
class SystemEvent;

/// A thread that waits for units of a semaphore; it lies on that thread's stack. Its wait is
/// settled once: by whoever grants the units or destroys the semaphore, who wakes it afterwards, or
/// by the thread itself when its limit has run out.
class TLKC2_API SemaphoreWaiter {
 public:
  /// For a thread that needs so many units.
  explicit SemaphoreWaiter(std::uint32_t need);
  ~SemaphoreWaiter();
  SemaphoreWaiter(const SemaphoreWaiter&) = delete;
  SemaphoreWaiter& operator=(const SemaphoreWaiter&) = delete;

  /// How many units it waits for.
  [[nodiscard]] std::uint32_t Need() const { return fNeed; }

  /// False when the wait has been settled before.
  [[nodiscard]] bool Settle(LockResult outcome);

  /// How it was settled. Only for its own thread, and only when that has been woken or has settled
  /// it itself.
  [[nodiscard]] LockResult Outcome() const;

  /// Lets the thread go on, which ends this object: nobody may touch it any more.
  void Wake();

  /// True when the thread has been woken; false when the time was up before.
  [[nodiscard]] bool SleepUntil(const Deadline& deadline);

 private:
  friend class WaiterQueue;

  [[nodiscard]] bool Sleep(std::uint32_t milliseconds);

  const std::uint32_t fNeed;
  std::atomic<LockResult> fOutcome;

  /// Null when the system refuses one: then the thread looks at the flag again and again.
  const std::unique_ptr<SystemEvent> fEvent;
  std::atomic<bool> fIsAwake{false};

  SemaphoreWaiter* fPrevious = nullptr;
  SemaphoreWaiter* fNext = nullptr;
  bool fIsQueued = false;
};

/// Waiters in the order in which they came. It links them and owns none.
class TLKC2_API WaiterQueue {
 public:
  /// Who waits: whether nobody does, how many do, and the first of them, who must be there.
  /// @{
  [[nodiscard]] bool IsEmpty() const { return fFront == nullptr; }
  [[nodiscard]] std::int32_t Size() const { return fSize; }
  [[nodiscard]] SemaphoreWaiter& Front() const { return *fFront; }
  /// @}

  /// Puts a waiter that stands in no queue behind the last.
  void PushBack(SemaphoreWaiter& waiter);
  /// Takes the first one out, who must be there.
  SemaphoreWaiter& PopFront();

  /// False when the waiter stands in no queue.
  [[nodiscard]] bool Remove(SemaphoreWaiter& waiter);

  /// Empties the queue. The waiters were settled by others.
  void WakeAll();

 private:
  SemaphoreWaiter* fFront = nullptr;
  SemaphoreWaiter* fBack = nullptr;
  std::int32_t fSize = 0;
};

}  // namespace tlk
