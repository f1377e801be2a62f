#pragma once

#include <cstdint>

namespace tlk {

/// The end of a limit that begins now. A limit is never cut short by the coarseness of the clock;
/// it may last up to a millisecond longer.
class Deadline {
 public:
  /// Limits of 0 or less have passed, and `kForever` never passes; neither reads the clock.
  explicit Deadline(std::int64_t microseconds);

  /// 0 or less when it has passed, `kForever` when it never does.
  [[nodiscard]] std::int64_t MicrosecondsLeft() const;

  /// Rounded up, for a wait of the system: 0 when it has passed, `kNoLimit` when it never does.
  /// What is too long for one wait needs another one.
  [[nodiscard]] std::uint32_t MillisecondsLeft() const;

 private:
  /// On the tick count.
  const std::int64_t fEnd;
};

}  // namespace tlk
