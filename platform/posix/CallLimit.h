#pragma once

#include <chrono>
#include <cstdint>

namespace tlk {

/// When a call that may wait has to end: one moment for the whole call, however often signals and
/// small steps interrupt it.
class CallLimit {
 public:
  /// From now on; 0 means no limit. The milliseconds of a socket's option are an unsigned number,
  /// so a negative one is very long.
  explicit CallLimit(std::int32_t milliseconds);

  /// Waits until the descriptor is ready for one of the `events` of poll, or has failed. False when
  /// the moment has come first.
  [[nodiscard]] bool WaitFor(int descriptor, short events) const;

 private:
  using Clock = std::chrono::steady_clock;

  const Clock::time_point m_end;
};

}  // namespace tlk
