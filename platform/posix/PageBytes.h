#pragma once

#include <array>
#include <optional>

namespace tlk {

class Converter;

/// What the single bytes of a code page mean.
struct PageBytes {
  /// The character that a byte is. 0 (but for the byte 0) stands for one that begins a longer
  /// character. A byte that the page does not define is the character of the same number.
  std::array<char16_t, 256> wide{};
  bool beginsLonger = false;  ///< Whether any does.
};

/// None for a page in which the bytes below 0x80 are not ASCII.
[[nodiscard]] std::optional<PageBytes> ReadPageBytes(Converter& toWide);

}  // namespace tlk
