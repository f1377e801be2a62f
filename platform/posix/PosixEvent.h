#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "platform/Synchronisation.h"
#include "platform/posix/Chain.h"

namespace tlk {

/// An event in one atomic word. Setting it while nobody sleeps on it, and waiting for it while it
/// is signalled, take no lock and make no system call; waking somebody does not look at those who
/// sleep on other events. A waiter that has been let go may destroy the event at once: `Set` does
/// not touch it any more.
class PosixEvent final : public SystemEvent {
 public:
  PosixEvent(ResetMode mode, bool isSignalled);

  [[nodiscard]] WaitResult Wait(std::uint32_t milliseconds) override;
  void Set() override;
  void Reset() override;

  [[nodiscard]] static WaitResult WaitEither(PosixEvent& first, PosixEvent& second,
                                             std::uint32_t milliseconds);

 private:
  struct Place;
  struct Sleeper;
  struct Dormitory;

  /// Made before there are threads: a child that is forked while one makes it would never have it.
  static const Dormitory& s_madeEarly;

  [[nodiscard]] static WaitResult WaitAny(std::span<PosixEvent* const> events,
                                          std::uint32_t milliseconds);
  [[nodiscard]] static WaitResult SleepUntilAny(std::span<PosixEvent* const> events,
                                                std::uint32_t milliseconds);

  /// Takes the signal if there is one.
  [[nodiscard]] bool TryTake();

  /// Takes the signal, or counts one sleeper more, in one step.
  [[nodiscard]] bool TakeOrCountSleeper();
  void UncountSleeper();
  void WakeSleepers();

  const ResetMode m_mode;

  /// The lowest bit is the signal; the others count the sleepers. While there are sleepers the
  /// signal is off, and only a thread that holds the dormitory's mutex switches it on.
  std::atomic<std::uint32_t> m_word;

  Chain<Place> m_sleepers;  // In the order in which they fell asleep.
};

}  // namespace tlk
