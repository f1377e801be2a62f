#include "xml/pugixml/Utf8.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "xml/XmlCharacters.h"

namespace tlk {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool IsSurrogate(char32_t unit) { return IsHighSurrogate(unit) || IsLowSurrogate(unit); }

void AppendUtf8(char32_t character, std::string& utf8) {
  const auto trail = [character](int shift) {
    return static_cast<char>(0x80 | ((character >> shift) & 0x3F));
  };
  if (character < 0x80) {
    utf8 += static_cast<char>(character);
  } else if (character < 0x800) {
    utf8 += static_cast<char>(0xC0 | (character >> 6));
    utf8 += trail(0);
  } else if (character < 0x10000) {
    utf8 += static_cast<char>(0xE0 | (character >> 12));
    utf8 += trail(6);
    utf8 += trail(0);
  } else {
    utf8 += static_cast<char>(0xF0 | (character >> 18));
    utf8 += trail(12);
    utf8 += trail(6);
    utf8 += trail(0);
  }
}

// How many bytes follow the first one of a character; none for a byte that begins no longer one.
int TrailBytes(unsigned char first) {
  if (first >= 0xF0 && first < 0xF8) return 3;
  if (first >= 0xE0) return first < 0xF0 ? 2 : 0;
  return first >= 0xC0 ? 1 : 0;
}

char32_t ReadUtf8(std::string_view utf8, std::size_t& at) {
  const auto first = static_cast<unsigned char>(utf8[at++]);
  if (first < 0x80) return first;
  const int count = TrailBytes(first);
  char32_t character = first & (0x3FU >> count);
  for (int i = 0; i < count; ++i) {
    if (at == utf8.size()) return kReplacement;
    const auto trail = static_cast<unsigned char>(utf8[at]);
    if ((trail & 0xC0) != 0x80) return kReplacement;
    character = (character << 6) | (trail & 0x3FU);
    ++at;
  }
  const bool valid = count > 0 && character <= 0x10FFFF && !IsSurrogate(character);
  return valid ? character : kReplacement;
}

}  // namespace

bool IsAscii(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::array<std::uint64_t, 4> block{};
  std::size_t at = 0;
  for (; at + sizeof block <= text.size(); at += sizeof block) {
    std::memcpy(block.data(), text.data() + at, sizeof block);
    if (((block[0] | block[1] | block[2] | block[3]) & kHighBits) != 0) return false;
  }
  for (; at + sizeof block[0] <= text.size(); at += sizeof block[0]) {
    std::memcpy(block.data(), text.data() + at, sizeof block[0]);
    if ((block[0] & kHighBits) != 0) return false;
  }
  for (; at < text.size(); ++at)
    if (static_cast<unsigned char>(text[at]) >= 0x80) return false;
  return true;
}

void Utf16ToUtf8(std::u16string_view wide, std::string& utf8) {
  utf8.clear();
  utf8.reserve(wide.size() + wide.size() / 2);
  for (std::size_t at = 0; at < wide.size(); ++at) {
    const char32_t unit = wide[at];
    const bool pair = IsHighSurrogate(unit) && at + 1 < wide.size() && IsLowSurrogate(wide[at + 1]);
    if (pair) {
      AppendUtf8(0x10000 + ((unit - 0xD800) << 10) + (wide[++at] - 0xDC00), utf8);
    } else if (IsSurrogate(unit) || unit >= 0xFFFE) {
      utf8 += '?';
    } else {
      AppendUtf8(unit, utf8);
    }
  }
}

void Utf8ToUtf16(std::string_view utf8, std::u16string& wide) {
  wide.clear();
  wide.reserve(utf8.size());
  for (std::size_t at = 0; at < utf8.size();) {
    const char32_t character = ReadUtf8(utf8, at);
    if (character < 0x10000) {
      wide += static_cast<char16_t>(character);
    } else {
      wide += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
      wide += static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
    }
  }
}

}  // namespace tlk
