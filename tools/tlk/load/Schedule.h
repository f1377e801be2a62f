#pragma once

#include <chrono>
#include <cstdint>

namespace tlk::load {

using Clock = std::chrono::steady_clock;

/// When each message of a run is due, counted from its beginning. The clients take turns: number k
/// of all messages is that of client k modulo their number.
class Schedule {
 public:
  /// So many messages a second, of all clients together; from 1.
  explicit Schedule(std::uint64_t rate) : m_rate(rate) {}

  /// When message `number` of all is due, counted from 0.
  [[nodiscard]] Clock::duration DueOf(std::uint64_t number) const {
    const auto rest = number % m_rate * kNanoseconds / m_rate;
    return std::chrono::seconds(number / m_rate) + std::chrono::nanoseconds(rest);
  }

  /// How many are due before that time.
  [[nodiscard]] std::uint64_t CountBefore(Clock::duration time) const {
    const auto passed = static_cast<std::uint64_t>(std::chrono::nanoseconds(time).count());
    const auto rest = passed % kNanoseconds * m_rate;
    return passed / kNanoseconds * m_rate + (rest + kNanoseconds - 1) / kNanoseconds;
  }

 private:
  static constexpr std::uint64_t kNanoseconds = 1'000'000'000;

  std::uint64_t m_rate;
};

}  // namespace tlk::load
