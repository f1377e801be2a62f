#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/Surroundings.h"

namespace tlk::log {

/// A moment of local time in milliseconds, to be compared with others and subtracted from them.
using Moment = std::int64_t;

inline constexpr Moment kSecond = 1000;
inline constexpr Moment kMinute = 60 * kSecond;
inline constexpr Moment kHour = 60 * kMinute;
inline constexpr Moment kDay = 24 * kHour;

[[nodiscard]] Moment MomentOf(const LocalTime& time);

/// The moment that a person names: `11/22/2026 10:20:30.123` as the log has it,
/// `2026-11-22 10:20:30.123` or with a `T`, `10:20:30.123` of the day of `now`, or an age, `90s`,
/// `10m`, `2h`, `3d`. Of a time, the milliseconds may be missing, and the seconds; of a date with
/// its day all of the time. None when it is nothing of that.
[[nodiscard]] std::optional<Moment> ParseMoment(std::string_view word, const LocalTime& now);

}  // namespace tlk::log
