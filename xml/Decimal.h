#pragma once

#include <array>
#include <charconv>
#include <cstdint>

namespace tlk {

/// Digits of a number, ended by a zero byte.
using Digits = std::array<char, 24>;

/// A number in decimal, as documents hold it.
[[nodiscard]] inline Digits Decimal(std::int64_t number) {
  Digits digits{};
  std::to_chars(digits.data(), digits.data() + digits.size() - 1, number);
  return digits;
}

}  // namespace tlk
