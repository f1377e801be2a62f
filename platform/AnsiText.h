#pragma once

#include <string>
#include <string_view>

namespace tlk {

/// What stands for a broken multi-byte sequence.
inline constexpr char16_t kBrokenCharacter = 0xFFFD;

/// Conversion between the system's ANSI code page and UTF-16.
///
/// Safe to call from any thread, and takes time in proportion to the text. Plain ASCII takes a fast
/// path on every platform, and can always be converted, given room for it. What the code page lacks
/// or cannot mean is replaced. What the system cannot convert at the moment, for want of memory or
/// of a converter, is a failure and never a wrong text: `std::bad_alloc` then, with the result left
/// in any state.
class AnsiText {
 public:
  virtual ~AnsiText() = default;

  /// Replaces `wide` by the text of `narrow`, zero bytes included. A byte that the code page does
  /// not define becomes the character of the same number; a broken multi-byte sequence U+FFFD: a
  /// lead byte without a fitting trail byte, and whatever is not UTF-8 where that is the code page.
  virtual void Widen(std::string_view narrow, std::u16string& wide) const = 0;

  /// Replaces `narrow` by the text of `wide`, zero characters included. A character that the code
  /// page lacks becomes "?".
  virtual void Narrow(std::u16string_view wide, std::string& narrow) const = 0;

  /// Whether every character is one byte.
  [[nodiscard]] virtual bool IsSingleByte() const = 0;
};

}  // namespace tlk
