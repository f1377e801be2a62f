#include "xml/pugixml/PugiText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "platform/AnsiText.h"
#include "xml/XmlCharacters.h"
#include "xml/pugixml/Utf8.h"

namespace tlk {
namespace {

bool IsForbidden(char c) {
  return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
}

bool BeginsName(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }

bool ContinuesName(char c) {
  return BeginsName(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

template <typename Text>
void DropBeyond(Text& scratch, std::size_t bytes) {
  if (scratch.capacity() > bytes) Text().swap(scratch);
}

}  // namespace

void PugiText::ToTree(std::string_view narrow, std::string& utf8) {
  if (IsAscii(narrow)) {
    utf8.assign(narrow);
    return;
  }
  m_codePage.Widen(narrow, m_wide);
  Utf16ToUtf8(m_wide, utf8);
}

void PugiText::ToTreeValue(std::string_view narrow, std::string& utf8) {
  ToTree(narrow.substr(0, narrow.find('\0')), utf8);
  std::replace_if(utf8.begin(), utf8.end(), IsForbidden, '?');
}

void PugiText::FromTree(std::string_view utf8, std::string& narrow) {
  if (IsAscii(utf8)) {
    narrow.assign(utf8);
    return;
  }
  Utf8ToUtf16(utf8, m_wide);
  m_codePage.Narrow(m_wide, m_narrow);
  narrow.swap(m_narrow);
}

void PugiText::TakeFromTree(std::string& utf8, std::string& narrow) {
  if (IsAscii(utf8)) {
    narrow.swap(utf8);
  } else {
    FromTree(utf8, narrow);
  }
}

bool PugiText::IsName(std::string_view utf8) {
  if (utf8.empty()) return false;
  if (IsAscii(utf8))
    return BeginsName(utf8.front()) && std::all_of(utf8.begin(), utf8.end(), ContinuesName);

  Utf8ToUtf16(utf8, m_wide);
  return IsXmlName(m_wide);
}

void PugiText::Trim(std::size_t bytes) {
  DropBeyond(m_wide, bytes);
  DropBeyond(m_narrow, bytes);
}

void NormaliseLineEnds(std::string& text) {
  std::size_t from = text.find('\r');
  if (from == std::string::npos) return;
  std::size_t to = from;
  for (; from < text.size(); ++from) {
    const bool joined = text[from] == '\r' && from + 1 < text.size() && text[from + 1] == '\n';
    if (joined) continue;
    text[to++] = text[from] == '\r' ? '\n' : text[from];
  }
  text.resize(to);
}

}  // namespace tlk
