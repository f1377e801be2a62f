#pragma once

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/AnsiText.h"

/// The gate's oracle, a parser that is strict by repute, and the texts and code pages to compare
/// the two with.
namespace tlk::test {

/// A single-byte page: ASCII, and the 128 characters from `first` on (ISO 8859-1 to begin with).
class BytePage : public AnsiText {
 public:
  explicit BytePage(char16_t first = 0x80);

  void Widen(std::string_view narrow, std::u16string& wide) const override;
  void Narrow(std::u16string_view wide, std::string& narrow) const override;
  [[nodiscard]] bool IsSingleByte() const override { return true; }
  [[nodiscard]] bool Holds(std::u16string_view text) const;

 private:
  char16_t m_first;
};

/// A multi-byte page that can hold any text, broken surrogates included: two bytes a unit, so
/// turned that no markup looks like ASCII.
class PairPage : public AnsiText {
 public:
  void Widen(std::string_view narrow, std::u16string& wide) const override;
  void Narrow(std::u16string_view wide, std::string& narrow) const override;
  [[nodiscard]] bool IsSingleByte() const override { return false; }
};

/// The lines of gate-texts.txt by their mark: "good", "bad" or "piece".
[[nodiscard]] const std::vector<std::u16string>& GateTexts(const std::string& mark);

/// The text as UTF-8; a surrogate without its partner becomes three bytes that are none.
[[nodiscard]] std::string Utf8(std::u16string_view text);

/// Whether the oracle takes the text and has seen no document type declaration in it. The gate lets
/// in no zero character anywhere, so neither does this.
[[nodiscard]] bool OracleAccepts(std::u16string_view text);

}  // namespace tlk::test
