#pragma once

#include <expat.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/AnsiText.h"
#include "platform/Utf8.h"

/// The gate's oracle, a parser that is strict by repute, and a code page to compare the two with.
namespace tlk::test {

/// A single-byte page: ASCII, and whatever else is in a text.
struct BytePage : AnsiText {
  explicit BytePage(std::u16string_view text) {
    for (const char16_t c : text)
      if (c >= 0x80 && upper.find(c) == upper.npos) upper += c;
  }
  void Widen(std::string_view narrow, std::u16string& wide) const override {
    wide.clear();
    for (const char byte : narrow) {
      const auto c = static_cast<unsigned char>(byte);
      wide += c < 0x80 ? c : c - 0x80U < upper.size() ? upper[c - 0x80U] : u'?';
    }
  }
  void Narrow(std::u16string_view wide, std::string& narrow) const override {
    narrow.clear();
    for (const char16_t c : wide) narrow += static_cast<char>(c < 0x80 ? c : 0x80 + upper.find(c));
  }
  [[nodiscard]] bool IsSingleByte() const override { return true; }

  std::u16string upper;
};

/// Whether the oracle takes the text and has seen no document type declaration in it. The gate lets
/// in no zero character and no half of a surrogate pair anywhere, so neither does this.
[[nodiscard]] inline bool OracleAccepts(std::u16string_view text) {
  // It stands between a namespace name and a local name, and in no local name; unlike other such
  // characters the parser lets it into a namespace name too.
  constexpr char kSeparator = ')';
  std::string utf8;
  std::u16string again;
  AppendUtf8(text, utf8);
  AppendUtf16(utf8, again);
  if (again != text || text.find(u'\0') != text.npos) return false;
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
      XML_ParserCreateNS("UTF-8", kSeparator), XML_ParserFree);
  bool declared = false;
  XML_SetUserData(parser.get(), &declared);
  XML_SetStartDoctypeDeclHandler(parser.get(),
                                 [](void* seen, auto...) { *static_cast<bool*>(seen) = true; });
  const auto status = XML_Parse(parser.get(), utf8.data(), static_cast<int>(utf8.size()), XML_TRUE);
  return status == XML_STATUS_OK && !declared;
}

}  // namespace tlk::test
