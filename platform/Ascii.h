#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace tlk {

/// So many characters are looked at together.
inline constexpr std::size_t kAsciiBlock = 16;

/// Whether every byte is below 0x80.
[[nodiscard]] bool IsAscii(std::string_view text);

/// Copies whole blocks of ASCII from one width to the other, up to the first block that has
/// anything else in it, and returns how many characters that were.
template <typename From, typename To>
std::size_t CopyAscii(std::basic_string_view<From> from, To* to) {
  std::size_t done = 0;
  for (; done + kAsciiBlock <= from.size(); done += kAsciiBlock) {
    // A copy of its own, which the compiler can keep in vector registers.
    std::array<std::make_unsigned_t<From>, kAsciiBlock> block;
    std::memcpy(block.data(), from.data() + done, sizeof block);
    unsigned seen = 0;
    for (const auto character : block) seen |= character;
    if (seen >= 0x80) break;
    std::array<To, kAsciiBlock> copy;
    for (std::size_t i = 0; i < kAsciiBlock; ++i) copy[i] = static_cast<To>(block[i]);
    std::memcpy(to + done, copy.data(), sizeof copy);
  }
  return done;
}

}  // namespace tlk
