#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "tools/tlk/load/LoadOptions.h"
#include "tools/tlk/load/Schedule.h"
#include "tools/tlk/load/Tally.h"

namespace tlk::load {

/// What came of a run.
struct Outcome {
  LoadOptions options;
  Tally tally;
  std::uint64_t inTime = 0;  ///< Messages answered when that was over; or sent, if none comes back.
  std::uint64_t expected = 0;                 ///< How many were due half a second before.
  Clock::duration lasted{};                   ///< How long messages went out.
  std::chrono::microseconds processorTime{};  ///< What this process used meanwhile.
  std::optional<std::size_t> descriptors;     ///< How many it may have open, if that is limited.
};

/// How the run fell short of what was asked for, and what bounded it; none when it did not.
[[nodiscard]] std::optional<std::string> Shortfall(const Outcome& outcome);

/// Whether everything was as it was asked for: no connection failed or lost, every request
/// answered, the rate kept.
[[nodiscard]] bool Succeeded(const Outcome& outcome);

/// The outcome as a table of several lines.
[[nodiscard]] std::string Table(const Outcome& outcome);

/// The same as one JSON object; times in microseconds.
[[nodiscard]] std::string Json(const Outcome& outcome);

/// Where a run stands, in a line.
[[nodiscard]] std::string ProgressLine(const LoadOptions& options, const Tally& tally,
                                       Clock::duration passed);

}  // namespace tlk::load
