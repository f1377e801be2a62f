#pragma once

#include <cstdint>
#include <vector>

namespace tlk::load {

/// Counts times in buckets whose width grows with the time, so that a percentile is within 1 % of
/// the true one whatever came, in memory that does not grow with the number of times.
class LatencyHistogram {
 public:
  LatencyHistogram();

  /// Counts a time in microseconds; one beyond `kMost` as `kMost`.
  void Add(std::uint64_t microseconds);

  /// How many times were counted.
  [[nodiscard]] std::uint64_t Count() const { return m_count; }

  /// The time that so many of a hundred were not above; 0 when nothing was counted.
  [[nodiscard]] std::uint64_t Percentile(double percent) const;

  /// The greatest time, exactly.
  [[nodiscard]] std::uint64_t Greatest() const { return m_greatest; }

  /// Two weeks, more than any run lasts.
  static constexpr std::uint64_t kMost = (1ULL << 40U) - 1;

 private:
  std::vector<std::uint64_t> m_buckets;
  std::uint64_t m_count = 0;
  std::uint64_t m_greatest = 0;
};

}  // namespace tlk::load
