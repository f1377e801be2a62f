#include "tools/tlk/load/LatencyHistogram.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>

namespace tlk::load {
namespace {

// Below 2 * kHalf every number has a bucket; above, each doubling is cut into kHalf of them. A
// bucket is answered for by its middle, so the error is at most one in 2 * kHalf.
constexpr unsigned kHalfBits = 6;
constexpr std::uint64_t kHalf = 1ULL << kHalfBits;

unsigned ShiftOf(std::uint64_t value) {
  const auto bits = static_cast<unsigned>(std::bit_width(value));
  return bits > kHalfBits + 1 ? bits - kHalfBits - 1 : 0;
}

std::size_t BucketOf(std::uint64_t value) {
  const auto shift = ShiftOf(value);
  return static_cast<std::size_t>(shift * kHalf + (value >> shift));
}

std::uint64_t MiddleOf(std::size_t bucket) {
  if (bucket < 2 * kHalf) return bucket;
  const auto shift = bucket / kHalf - 1;
  const auto lowest = (bucket - shift * kHalf) << shift;
  return lowest + (1ULL << shift) / 2;
}

}  // namespace

LatencyHistogram::LatencyHistogram() : m_buckets(BucketOf(kMost) + 1) {}

void LatencyHistogram::Add(std::uint64_t microseconds) {
  const auto value = std::min(microseconds, kMost);
  ++m_buckets[BucketOf(value)];
  ++m_count;
  m_greatest = std::max(m_greatest, value);
}

std::uint64_t LatencyHistogram::Percentile(double percent) const {
  const auto wanted =
      static_cast<std::uint64_t>(std::ceil(static_cast<double>(m_count) * percent / 100));
  std::uint64_t seen = 0;
  for (std::size_t bucket = 0; bucket < m_buckets.size(); ++bucket) {
    seen += m_buckets[bucket];
    if (seen > 0 && seen >= wanted) return std::min(MiddleOf(bucket), m_greatest);
  }
  return 0;
}

}  // namespace tlk::load
