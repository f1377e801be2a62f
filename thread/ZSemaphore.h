#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "platform/Export.h"
#include "thread/LockResult.h"
#include "thread/SemaphoreWaiter.h"
#include "thread/SpinWord.h"

namespace tlk {

/// A counting semaphore. First come, first served: units go to the waiter that came first as soon
/// as there are enough for its need, and nobody who comes later overtakes it.
///
/// What a thread did before it signalled is seen by whoever takes the units. A thread that got its
/// units, or was woken by the destruction, does not touch the semaphore any more, nor does a signal
/// whose units somebody has got: either may be followed by the semaphore's end.
class TLKC2_API ZSemaphore {
 public:
  /// The most units that it ever has.
  static constexpr std::int32_t kMaxCount = 0x7FFFFFFF;

  /// `name` is for diagnostics; it stays the caller's and outlives the object.
  ZSemaphore(const char* name, std::int32_t count);
  ZSemaphore(const ZSemaphore&) = delete;
  ZSemaphore& operator=(const ZSemaphore&) = delete;

  /// Wakes the waiters with `kDestroyed` and waits until none of them touches the object any more.
  /// No other call may begin from here on.
  ~ZSemaphore();

  /// Takes so many units at once, none for 0 or less. The limit is in microseconds.
  [[nodiscard]] LockResult Wait(std::int32_t units, std::int64_t limit) {
    return TryTake(units) ? LockResult::kAcquired : WaitInTurn(units, limit);
  }

  /// For code that cannot go on without the semaphore: throws `ZThread::Disposed` instead of
  /// returning `kDestroyed`.
  LockResult WaitOrThrow(std::int32_t units, std::int64_t limit = kForever);

  /// Gives so many units, none for 0 or less. False, and none is given, when the count would go
  /// past `kMaxCount` even for a moment.
  bool Signal(std::int32_t units) {
    if (units <= 0) return true;
    const auto more = static_cast<std::uint32_t>(units);
    std::uint32_t word = fInitial - std::min(more, fInitial);
    do {
      if (word + more >= kContended) return false;
      if (fWord.compare_exchange_weak(word, word + more, std::memory_order_release,
                                      std::memory_order_relaxed)) {
        return true;
      }
    } while (word < kContended);
    return SignalInTurn(more);
  }

  /// How many threads wait in this moment.
  [[nodiscard]] std::int32_t Waiters() const;

  /// The name that it was made with.
  [[nodiscard]] const char* Name() const { return fName; }

 private:
  /// Set while threads wait. The word then belongs to whoever has the spin word.
  static constexpr std::uint32_t kContended = 0x80000000;

  [[nodiscard]] bool TryTake(std::int32_t units) {
    if (units <= 0) return true;
    const auto need = static_cast<std::uint32_t>(units);
    std::uint32_t word = std::max(need, fInitial);
    do {
      if (fWord.compare_exchange_weak(word, word - need, std::memory_order_acquire,
                                      std::memory_order_relaxed)) {
        return true;
      }
    } while (word >= need && word < kContended);
    return false;
  }

  [[nodiscard]] LockResult WaitInTurn(std::int32_t units, std::int64_t limit);
  [[nodiscard]] bool SignalInTurn(std::uint32_t units);

  /// Adds a waiter; true, and then it stands in no queue, when it is its turn already.
  [[nodiscard]] bool IsServedAtOnce(SemaphoreWaiter& waiter);

  /// What a waiter whose limit ran out does last.
  void Leave(SemaphoreWaiter& waiter);
  [[nodiscard]] bool HasLeavers() const;

  // The rest runs with the spin word.
  [[nodiscard]] std::uint32_t TakeWord();
  [[nodiscard]] bool PopAndSettle(LockResult outcome, WaiterQueue& settled);
  [[nodiscard]] WaiterQueue Serve(std::uint32_t count);

  const char* const fName;

  /// The count while nobody has units. Taking and giving begin with it as a guess instead of
  /// reading the word, because the read would have to wait for what this thread did to the word
  /// last.
  const std::uint32_t fInitial;
  std::atomic<std::uint32_t> fWord;
  mutable SpinWord fSpin;
  WaiterQueue fQueue;

  /// Waiters that have been taken from the queue while they were about to leave it themselves.
  std::int32_t fLeavers = 0;
};

}  // namespace tlk
