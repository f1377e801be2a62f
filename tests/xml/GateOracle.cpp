#include "tests/xml/GateOracle.h"

#include <expat.h>

#include <algorithm>
#include <memory>
#include <numeric>

namespace tlk::test {
namespace {

constexpr unsigned kTurn = 0x80;

/// It stands between a namespace name and a local name, and in no local name; unlike other such
/// characters the parser lets it into a namespace name too.
constexpr char kSeparator = ')';

void Append(std::string& utf8, char32_t c) {
  const auto put = [&utf8](char32_t byte) { utf8.push_back(static_cast<char>(byte)); };
  const auto tail = [&](unsigned shift) { put(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | (c >> 6)), tail(0);
  } else if (c < 0x10000) {
    put(0xE0 | (c >> 12)), tail(6), tail(0);
  } else {
    put(0xF0 | (c >> 18)), tail(12), tail(6), tail(0);
  }
}

}  // namespace

BytePage::BytePage() : BytePage(0x80) {}

BytePage::BytePage(char16_t first) { std::iota(m_upper.begin(), m_upper.end(), first); }

void BytePage::Widen(std::string_view narrow, std::u16string& wide) const {
  wide.clear();
  for (const char c : narrow) {
    const auto byte = static_cast<unsigned char>(c);
    wide.push_back(byte < 0x80 ? byte : m_upper[byte - 0x80U]);
  }
}

void BytePage::Narrow(std::u16string_view wide, std::string& narrow) const {
  narrow.clear();
  for (const char16_t c : wide) {
    const auto found = std::find(m_upper.begin(), m_upper.end(), c);
    const auto upper = static_cast<char>(0x80 + (found - m_upper.begin()));
    const char other = found == m_upper.end() ? '?' : upper;
    narrow.push_back(c < 0x80 ? static_cast<char>(c) : other);
  }
}

void PairPage::Widen(std::string_view narrow, std::u16string& wide) const {
  wide.clear();
  for (std::size_t i = 0; i + 1 < narrow.size(); i += 2) {
    const unsigned high = static_cast<unsigned char>(narrow[i]) ^ kTurn;
    const unsigned low = static_cast<unsigned char>(narrow[i + 1]) ^ kTurn;
    wide.push_back(static_cast<char16_t>(high << 8 | low));
  }
}

void PairPage::Narrow(std::u16string_view wide, std::string& narrow) const {
  narrow.clear();
  for (const char16_t c : wide) {
    narrow.push_back(static_cast<char>((c >> 8) ^ kTurn));
    narrow.push_back(static_cast<char>((c & 0xFF) ^ kTurn));
  }
}

std::string Utf8(std::u16string_view text) {
  std::string utf8;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool pair =
        (text[i] & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
    if (pair) {
      Append(utf8, 0x10000 + ((text[i] & 0x3FFU) << 10) + (text[i + 1] & 0x3FFU));
      ++i;
    } else {
      Append(utf8, text[i]);
    }
  }
  return utf8;
}

std::u16string Utf16(std::string_view bytes) {
  std::u16string wide;
  BytePage().Widen(bytes, wide);
  return wide;
}

bool OracleAccepts(std::u16string_view text) {
  if (text.find(u'\0') != std::u16string_view::npos) return false;
  using Parser = std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)>;
  const Parser parser(XML_ParserCreateNS("UTF-8", kSeparator), XML_ParserFree);
  bool declared = false;
  XML_SetUserData(parser.get(), &declared);
  XML_SetStartDoctypeDeclHandler(
      parser.get(), [](void* seen, const XML_Char*, const XML_Char*, const XML_Char*, int) {
        *static_cast<bool*>(seen) = true;
      });
  const std::string utf8 = Utf8(text);
  const auto status = XML_Parse(parser.get(), utf8.data(), static_cast<int>(utf8.size()), XML_TRUE);
  return status == XML_STATUS_OK && !declared;
}

}  // namespace tlk::test
