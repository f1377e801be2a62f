#include "platform/posix/PosixEvent.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace tlk {
namespace {

constexpr std::uint32_t kSignal = 1;
constexpr std::uint32_t kOneSleeper = 2;

constexpr std::uint32_t SleepersIn(std::uint32_t word) { return word / kOneSleeper; }

WaitResult ResultOf(size_t index) { return static_cast<WaitResult>(index); }

}  // namespace

/// A thread asleep on one event or two. Whoever wakes it says by which one.
struct PosixEvent::Sleeper {
  std::span<PosixEvent* const> events;
  std::condition_variable wake = {};
  std::optional<size_t> wokenBy = std::nullopt;
  Sleeper* previous = nullptr;
  Sleeper* next = nullptr;
};

/// Everybody asleep in this process, in the order in which they fell asleep, and none of it needs
/// memory: nobody can be refused to wait. One mutex for all makes waiting for two events simple,
/// and only those who sleep or wake somebody ever take it.
struct PosixEvent::Dormitory {
  std::mutex mutex;
  Sleeper* first = nullptr;
  Sleeper* last = nullptr;

  /// It is never destroyed: threads that outlive the static objects of the process may still wait.
  static Dormitory& Get() {
    static Dormitory& dormitory = *new Dormitory;
    return dormitory;
  }

  void Add(Sleeper& sleeper) {
    sleeper.previous = std::exchange(last, &sleeper);
    (sleeper.previous != nullptr ? sleeper.previous->next : first) = &sleeper;
  }

  void Remove(Sleeper& sleeper) {
    (sleeper.previous != nullptr ? sleeper.previous->next : first) = sleeper.next;
    (sleeper.next != nullptr ? sleeper.next->previous : last) = sleeper.previous;
    for (PosixEvent* event : sleeper.events) event->UncountSleeper();
  }
};

PosixEvent::PosixEvent(ResetMode mode, bool isSignalled)
    : m_mode(mode), m_word(isSignalled ? kSignal : 0) {}

WaitResult PosixEvent::Wait(std::uint32_t milliseconds) {
  return WaitAny(std::array{this}, milliseconds);
}

WaitResult PosixEvent::WaitEither(PosixEvent& first, PosixEvent& second,
                                  std::uint32_t milliseconds) {
  return WaitAny(std::array{&first, &second}, milliseconds);
}

WaitResult PosixEvent::WaitAny(std::span<PosixEvent* const> events, std::uint32_t milliseconds) {
  const auto taken = std::ranges::find_if(events, &PosixEvent::TryTake);
  if (taken != events.end()) return ResultOf(static_cast<size_t>(taken - events.begin()));
  return milliseconds == 0 ? WaitResult::kTimedOut : SleepUntilAny(events, milliseconds);
}

WaitResult PosixEvent::SleepUntilAny(std::span<PosixEvent* const> events,
                                     std::uint32_t milliseconds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  Dormitory& dormitory = Dormitory::Get();
  std::unique_lock lock(dormitory.mutex);
  for (size_t i = 0; i < events.size(); ++i) {
    if (!events[i]->TakeOrCountSleeper()) continue;
    for (PosixEvent* counted : events.first(i)) counted->UncountSleeper();
    return ResultOf(i);
  }
  Sleeper self{.events = events};
  dormitory.Add(self);
  const auto isWoken = [&self] { return self.wokenBy.has_value(); };
  if (milliseconds == kNoLimit) {
    self.wake.wait(lock, isWoken);
  } else if (!self.wake.wait_until(lock, deadline, isWoken)) {
    dormitory.Remove(self);
    return WaitResult::kTimedOut;
  }
  return ResultOf(*self.wokenBy);
}

void PosixEvent::Set() {
  std::uint32_t word = m_word.load(std::memory_order_relaxed);
  while (SleepersIn(word) == 0) {
    if (m_word.compare_exchange_weak(word, word | kSignal, std::memory_order_release,
                                     std::memory_order_relaxed)) {
      return;
    }
  }
  WakeSleepers();
}

void PosixEvent::WakeSleepers() {
  Dormitory& dormitory = Dormitory::Get();
  const std::lock_guard lock(dormitory.mutex);
  bool isTaken = false;
  for (Sleeper* next = dormitory.first; next != nullptr && !isTaken;) {
    Sleeper& sleeper = *std::exchange(next, next->next);
    const auto found = std::ranges::find(sleeper.events, this);
    if (found == sleeper.events.end()) continue;
    sleeper.wokenBy = static_cast<size_t>(found - sleeper.events.begin());
    dormitory.Remove(sleeper);
    sleeper.wake.notify_one();
    isTaken = m_mode == ResetMode::kAutomatic;
  }
  if (!isTaken) m_word.fetch_or(kSignal, std::memory_order_release);
}

void PosixEvent::Reset() { m_word.fetch_and(~kSignal, std::memory_order_relaxed); }

bool PosixEvent::TryTake() {
  std::uint32_t word = m_word.load(std::memory_order_acquire);
  while ((word & kSignal) != 0) {
    if (m_mode == ResetMode::kManual) return true;
    if (m_word.compare_exchange_weak(word, word & ~kSignal, std::memory_order_acquire)) return true;
  }
  return false;
}

bool PosixEvent::TakeOrCountSleeper() {
  std::uint32_t word = m_word.load(std::memory_order_acquire);
  for (;;) {
    const bool isSignalled = (word & kSignal) != 0;
    if (isSignalled && m_mode == ResetMode::kManual) return true;
    const std::uint32_t next = isSignalled ? word & ~kSignal : word + kOneSleeper;
    if (m_word.compare_exchange_weak(word, next, std::memory_order_acquire)) return isSignalled;
  }
}

void PosixEvent::UncountSleeper() { m_word.fetch_sub(kOneSleeper, std::memory_order_relaxed); }

}  // namespace tlk
