#include "xml/pugixml/PugiText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/AnsiText.h"
#include "platform/Ascii.h"
#include "platform/Utf8.h"
#include "xml/DomAdapter.h"
#include "xml/XmlCharacters.h"

namespace tlk {
namespace {

bool IsForbidden(char c) {
  return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
}

constexpr bool BeginsName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

constexpr auto kNameCharacters = [] {
  std::array<bool, 256> belongs{};
  for (int c = 0; c < 128; ++c) {
    const char character = static_cast<char>(c);
    const bool isDigit = character >= '0' && character <= '9';
    belongs[static_cast<std::size_t>(c)] =
        BeginsName(character) || isDigit || character == '-' || character == '.';
  }
  return belongs;
}();

// Whether a value is the same in the tree: printable ASCII, nothing else.
bool IsPlainValue(std::string_view narrow) {
  return std::all_of(narrow.begin(), narrow.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

/// Replaces `utf8` by `wide`. What XML cannot hold, half a surrogate pair, U+FFFE and U+FFFF,
/// becomes "?".
void ToUtf8(std::u16string& wide, std::string& utf8) {
  std::ranges::replace_if(
      wide, [](char16_t unit) { return unit >= 0xFFFE; }, u'?');
  utf8.clear();
  AppendUtf8(wide, utf8);
}

/// As much is carried over at once.
constexpr std::size_t kAtOnce = 65'536;

/// The size of the whole characters among the first bytes of a text.
std::size_t CharactersWithin(std::string_view utf8, std::size_t bytes) {
  if (utf8.size() <= bytes) return utf8.size();
  while ((static_cast<unsigned char>(utf8[bytes]) & 0xC0U) == 0x80U) --bytes;
  return bytes;
}

template <typename Text>
void DropBeyond(Text& scratch, std::size_t bytes) {
  if (scratch.capacity() > bytes) Text().swap(scratch);
}

}  // namespace

bool IsPlainName(std::string_view narrow) {
  if (narrow.empty() || !BeginsName(narrow.front())) return false;
  bool all = true;
  for (const char c : narrow) all &= kNameCharacters[static_cast<unsigned char>(c)];
  return all;
}

void PugiText::SourceToTree(std::string_view narrow, std::string& utf8) {
  if (IsAscii(narrow)) {
    utf8.assign(narrow);
  } else {
    WidenSource(m_codePage, narrow, m_wide);
    ToUtf8(m_wide, utf8);
    Trim(kAtOnce);
  }
}

std::string_view PugiText::InTree(std::string_view narrow, std::string& scratch) {
  if (IsAscii(narrow)) return narrow;
  m_codePage.Widen(narrow, m_wide);
  ToUtf8(m_wide, scratch);
  return scratch;
}

void PugiText::ToTreeValue(std::string_view narrow, std::string& utf8) {
  utf8.assign(ValueInTree(narrow, utf8));
}

std::string_view PugiText::ValueInTree(std::string_view narrow, std::string& scratch) {
  if (IsPlainValue(narrow)) return narrow;
  scratch.assign(InTree(narrow.substr(0, narrow.find('\0')), scratch));
  std::replace_if(scratch.begin(), scratch.end(), IsForbidden, '?');
  return scratch;
}

// Piece by piece, for a whole message would need twice its size on the way.
void PugiText::FromTree(std::string_view utf8, std::string& narrow) {
  if (IsAscii(utf8)) {
    narrow.assign(utf8);
    return;
  }
  std::string whole;
  whole.reserve(std::min(utf8.size(), kAtOnce));
  while (!utf8.empty()) {
    const std::string_view piece = utf8.substr(0, CharactersWithin(utf8, kAtOnce));
    utf8.remove_prefix(piece.size());
    m_wide.clear();
    AppendUtf16(piece, m_wide);
    m_codePage.Narrow(m_wide, m_narrow);
    whole.append(m_narrow);
  }
  narrow.swap(whole);
}

void PugiText::TakeFromTree(std::string& utf8, std::string& narrow) {
  if (IsAscii(utf8)) {
    narrow.swap(utf8);
  } else {
    FromTree(utf8, narrow);
  }
}

bool PugiText::NameInTree(std::string_view narrow, std::string& utf8) {
  if (IsPlainName(narrow)) {
    utf8.assign(narrow);
    return true;
  }
  ToTreeValue(narrow, utf8);
  m_wide.clear();
  AppendUtf16(utf8, m_wide);
  return IsXmlName(m_wide);
}

void PugiText::Trim(std::size_t bytes) {
  DropBeyond(m_wide, bytes);
  DropBeyond(m_narrow, bytes);
}

}  // namespace tlk
