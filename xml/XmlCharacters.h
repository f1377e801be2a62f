#pragma once

#include <cstdint>
#include <string_view>

namespace tlk {

/// What may be done with a character in a document, as a set of flags.
enum XmlTrait : std::uint8_t {
  kXmlLegal = 0x01,      ///< may stand in a document at all
  kXmlSpace = 0x02,      ///< white space
  kXmlNameStart = 0x04,  ///< starts a name without a prefix
  kXmlName = 0x08,       ///< goes on in such a name
  kXmlText = 0x10,       ///< character data, and nothing that could be the start of something else
  kXmlValue = 0x20,      ///< likewise in an attribute value, whatever its quotes
  kXmlQuiet = 0x40,      ///< likewise in a comment, a processing instruction or a CDATA section
};

/// The traits of each of the 65,536 UTF-16 units, by its number. Names are those of XML 1.0 up to
/// its fourth edition. A surrogate has no traits: only as a pair does it make a character. Safe to
/// call from any thread.
[[nodiscard]] const std::uint8_t* XmlTraitsOfUtf16();

/// Whether a document may hold the character at all.
[[nodiscard]] constexpr bool IsXmlCharacter(char32_t c) {
  if (c < 0x20) return c == '\t' || c == '\n' || c == '\r';
  return c < 0xD800 || (c >= 0xE000 && c <= 0x10FFFF && c != 0xFFFE && c != 0xFFFF);
}

/// Whether an element or attribute may have this name, which has no prefix.
[[nodiscard]] bool IsXmlName(std::u16string_view name);

inline constexpr std::string_view kNamespaceOfXml = "http://www.w3.org/XML/1998/namespace";
inline constexpr std::string_view kNamespaceOfXmlns = "http://www.w3.org/2000/xmlns/";

/// Whether a namespace, up to its first zero byte, is one of the two that no element can be put in.
[[nodiscard]] constexpr bool IsReservedNamespace(std::string_view name) {
  const std::string_view read = name.substr(0, name.find('\0'));
  return read == kNamespaceOfXml || read == kNamespaceOfXmlns;
}

[[nodiscard]] constexpr bool IsHighSurrogate(char32_t unit) { return (unit & ~0x3FFU) == 0xD800; }
[[nodiscard]] constexpr bool IsLowSurrogate(char32_t unit) { return (unit & ~0x3FFU) == 0xDC00; }

/// How the units of a text are to be understood: as UTF-16, or as the bytes of a code page.
struct XmlAlphabet {
  const std::uint8_t* traits;  ///< of each unit, by its number
  const char16_t* wide;        ///< its UTF-16 unit; null when that is its number
};

}  // namespace tlk
