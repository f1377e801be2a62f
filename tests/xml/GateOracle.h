#pragma once

#include <array>
#include <string>
#include <string_view>

#include "platform/AnsiText.h"

/// The gate's oracle, a parser that is strict by repute, and the code pages through which one text
/// reaches the gate in different forms.
namespace tlk::test {

/// A single-byte page: ASCII, and 128 characters of choice (at first those of ISO 8859-1).
class BytePage : public AnsiText {
 public:
  BytePage();
  /// Makes the upper half the 128 characters from `first` on.
  explicit BytePage(char16_t first);

  void Widen(std::string_view narrow, std::u16string& wide) const override;
  void Narrow(std::u16string_view wide, std::string& narrow) const override;
  [[nodiscard]] bool IsSingleByte() const override { return true; }

 private:
  std::array<char16_t, 128> m_upper;
};

/// A multi-byte page that can hold any text, broken surrogates included: two bytes a unit, so
/// turned that no markup looks like ASCII.
class PairPage : public AnsiText {
 public:
  void Widen(std::string_view narrow, std::u16string& wide) const override;
  void Narrow(std::u16string_view wide, std::string& narrow) const override;
  [[nodiscard]] bool IsSingleByte() const override { return false; }
};

/// The text as UTF-8; a surrogate without its partner becomes three bytes that are none.
[[nodiscard]] std::string Utf8(std::u16string_view text);

/// The characters of the bytes, by their number.
[[nodiscard]] std::u16string Utf16(std::string_view bytes);

/// Whether the oracle takes the text and has seen no document type declaration in it. The gate lets
/// in no zero character anywhere, so neither does this.
[[nodiscard]] bool OracleAccepts(std::u16string_view text);

}  // namespace tlk::test
