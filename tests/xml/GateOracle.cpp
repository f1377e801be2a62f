#include "tests/xml/GateOracle.h"

#include <expat.h>

#include <algorithm>
#include <fstream>
#include <memory>

namespace tlk::test {
namespace {

constexpr unsigned kTurn = 0x80;

/// It stands between a namespace name and a local name, and in no local name; unlike other such
/// characters the parser lets it into a namespace name too.
constexpr char kSeparator = ')';

char32_t TakeCharacter(std::u16string_view& text) {
  const char16_t unit = text[0];
  const bool pair = (unit & 0xFC00) == 0xD800 && text.size() > 1 && (text[1] & 0xFC00) == 0xDC00;
  const char32_t c = pair ? 0x10000 + ((unit & 0x3FFU) << 10) + (text[1] & 0x3FFU) : unit;
  text.remove_prefix(pair ? 2 : 1);
  return c;
}

std::u16string Unescaped(std::string_view line) {
  constexpr std::string_view kNumber = "\\u{";
  constexpr std::string_view kLetters = "nrt";
  std::u16string text;
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (line.substr(at).starts_with(kNumber)) {
      at += kNumber.size();
      text += static_cast<char16_t>(std::stoul(std::string(line.substr(at, 4)), nullptr, 16));
      at += 4;
    } else if (line[at] == '\\') {
      text += u"\n\r\t"[kLetters.find(line[++at])];
    } else {
      text += static_cast<char16_t>(line[at]);
    }
  }
  return text;
}

}  // namespace

BytePage::BytePage(char16_t first) : m_first(first) {}

void BytePage::Widen(std::string_view narrow, std::u16string& wide) const {
  wide.clear();
  for (const char c : narrow) {
    const auto byte = static_cast<unsigned char>(c);
    wide += static_cast<char16_t>(byte < 0x80 ? byte : m_first + byte - 0x80);
  }
}

void BytePage::Narrow(std::u16string_view wide, std::string& narrow) const {
  narrow.clear();
  for (const char16_t c : wide) narrow += static_cast<char>(c < 0x80 ? c : c - m_first + 0x80);
}

bool BytePage::Holds(std::u16string_view text) const {
  return std::all_of(text.begin(), text.end(),
                     [this](int c) { return c < 0x80 || (c >= m_first && c < m_first + 0x80); });
}

void PairPage::Widen(std::string_view narrow, std::u16string& wide) const {
  wide.clear();
  for (std::size_t i = 0; i + 1 < narrow.size(); i += 2) {
    const unsigned high = static_cast<unsigned char>(narrow[i]) ^ kTurn;
    const unsigned low = static_cast<unsigned char>(narrow[i + 1]) ^ kTurn;
    wide += static_cast<char16_t>(high << 8 | low);
  }
}

void PairPage::Narrow(std::u16string_view wide, std::string& narrow) const {
  narrow.clear();
  for (const char16_t c : wide) {
    narrow += static_cast<char>((c >> 8) ^ kTurn);
    narrow += static_cast<char>((c & 0xFF) ^ kTurn);
  }
}

const std::vector<std::u16string>& GateTexts(const std::string& mark) {
  static const auto kTexts = [] {
    std::map<std::string, std::vector<std::u16string>> texts;
    std::ifstream file(TLKC2_GATE_TEXTS);
    for (std::string line; std::getline(file, line);) {
      if (line.starts_with('#')) continue;
      const std::size_t end = std::min(line.find(' '), line.size());
      texts[line.substr(0, end)].push_back(Unescaped(line.substr(std::min(end + 1, line.size()))));
    }
    return texts;
  }();
  return kTexts.at(mark);
}

std::string Utf8(std::u16string_view text) {
  std::string utf8;
  while (!text.empty()) {
    const char32_t c = TakeCharacter(text);
    unsigned shift = c < 0x80 ? 0 : c < 0x800 ? 6 : c < 0x10000 ? 12 : 18;
    const unsigned lead = shift == 0 ? 0 : 0xFF00U >> (shift / 6 + 1);
    utf8 += static_cast<char>((lead & 0xFF) | c >> shift);
    for (; shift > 0; shift -= 6) utf8 += static_cast<char>(0x80 | ((c >> (shift - 6)) & 0x3F));
  }
  return utf8;
}

bool OracleAccepts(std::u16string_view text) {
  if (text.find(u'\0') != std::u16string_view::npos) return false;
  using Parser = std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)>;
  const Parser parser(XML_ParserCreateNS("UTF-8", kSeparator), XML_ParserFree);
  bool declared = false;
  XML_SetUserData(parser.get(), &declared);
  XML_SetStartDoctypeDeclHandler(parser.get(),
                                 [](void* seen, auto...) { *static_cast<bool*>(seen) = true; });
  const std::string utf8 = Utf8(text);
  const auto status = XML_Parse(parser.get(), utf8.data(), static_cast<int>(utf8.size()), XML_TRUE);
  return status == XML_STATUS_OK && !declared;
}

}  // namespace tlk::test
