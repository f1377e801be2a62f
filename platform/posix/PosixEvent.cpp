#include "platform/posix/PosixEvent.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/Fork.h"

namespace tlk {
namespace {

constexpr std::uint32_t kSignal = 1;
constexpr std::uint32_t kOneSleeper = 2;

constexpr std::uint32_t SleepersIn(std::uint32_t word) { return word / kOneSleeper; }

WaitResult ResultOf(size_t index) { return static_cast<WaitResult>(index); }

}  // namespace

/// A sleeper's place in the list of an event.
struct PosixEvent::Place {
  PosixEvent* event = nullptr;
  Sleeper* sleeper = nullptr;
  Place* previous = nullptr;
  Place* next = nullptr;
};

/// Where threads sleep. One mutex guards the lists of all events: whoever sleeps on two stands in
/// both lists, and an event may be gone before its setter has released the mutex. It is held for a
/// few steps, and only those who sleep or wake somebody ever take it.
struct PosixEvent::Dormitory {
  ForkMutex mutex;
  Chain<Sleeper> sleepers;  // All of them, for a forked child to know whom to forget.
  const InForkedChild emptied{[this] { Empty(); }};

  void Empty();

  /// It is never destroyed: threads that outlive the static objects of the process may still wait.
  static Dormitory& Get() {
    static Dormitory& dormitory = *new Dormitory;
    return dormitory;
  }
};

/// A thread asleep on one event or two. Whoever wakes it says by which one. All that the lists are
/// made of lies on its stack: nobody can be refused to wait.
struct PosixEvent::Sleeper {
  explicit Sleeper(std::span<PosixEvent* const> slept) : count(slept.size()) {
    Dormitory::Get().sleepers.Add(*this);
    for (size_t i = 0; i < count; ++i) {
      places[i] = {.event = slept[i], .sleeper = this};
      slept[i]->m_sleepers.Add(places[i]);
    }
  }

  void Leave() {
    Dormitory::Get().sleepers.Remove(*this);
    for (Place& place : std::span(places).first(count)) {
      place.event->m_sleepers.Remove(place);
      place.event->UncountSleeper();
    }
  }

  void WakeBy(const Place& place) {
    wokenBy = static_cast<size_t>(&place - places.data());
    Leave();
    wake.notify_one();
  }

  const size_t count;
  std::array<Place, 2> places;
  std::condition_variable wake;
  std::optional<size_t> wokenBy;
  Sleeper* previous = nullptr;
  Sleeper* next = nullptr;
};

/// In a forked child: none of the threads is there, though their stacks are.
void PosixEvent::Dormitory::Empty() {
  while (sleepers.first != nullptr) sleepers.first->Leave();
}

const PosixEvent::Dormitory& PosixEvent::s_madeEarly = Dormitory::Get();

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
  std::unique_lock<std::mutex> lock(Dormitory::Get().mutex);
  for (size_t i = 0; i < events.size(); ++i) {
    if (!events[i]->TakeOrCountSleeper()) continue;
    for (PosixEvent* counted : events.first(i)) counted->UncountSleeper();
    return ResultOf(i);
  }
  Sleeper self(events);
  const auto isWoken = [&self] { return self.wokenBy.has_value(); };
  if (milliseconds == kNoLimit) {
    self.wake.wait(lock, isWoken);
  } else if (!self.wake.wait_until(lock, deadline, isWoken)) {
    self.Leave();
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
  const std::lock_guard lock(Dormitory::Get().mutex);
  bool isTaken = false;
  while (m_sleepers.first != nullptr && !isTaken) {
    m_sleepers.first->sleeper->WakeBy(*m_sleepers.first);
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
