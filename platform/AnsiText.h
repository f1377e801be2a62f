#pragma once

#include <string>
#include <string_view>

namespace tlk {

/// Conversion between the system's ANSI code page and UTF-16.
///
/// Safe to call from any thread. Plain ASCII takes a fast path on every platform. No call fails:
/// what cannot be converted is replaced.
class AnsiText {
 public:
  virtual ~AnsiText() = default;

  /// Replaces `wide` by the text of `narrow`, zero bytes included. A byte that the code page does
  /// not define becomes the character of the same number; a broken multi-byte sequence U+FFFD.
  virtual void Widen(std::string_view narrow, std::u16string& wide) const = 0;

  /// Replaces `narrow` by the text of `wide`, zero characters included. A character that the code
  /// page lacks becomes "?".
  virtual void Narrow(std::u16string_view wide, std::string& narrow) const = 0;

  /// Whether every character is one byte.
  [[nodiscard]] virtual bool IsSingleByte() const = 0;
};

}  // namespace tlk
