#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

namespace tlk {

/// Digits of a number, ended by a zero byte.
using Digits = std::array<char, 24>;

/// A number in decimal, as documents hold it.
[[nodiscard]] inline Digits Decimal(std::int64_t number) {
  Digits digits{};
  std::snprintf(digits.data(), digits.size(), "%lld", static_cast<long long>(number));
  return digits;
}

}  // namespace tlk
