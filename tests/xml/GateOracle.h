#pragma once

#include <expat.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/AnsiText.h"
#include "platform/Utf8.h"

/// The gate's oracle, a parser that is strict by repute, and the texts and code pages to compare
/// the two with.
namespace tlk::test {

/// A single-byte page: ASCII, and the 128 characters from `first` on (ISO 8859-1 to begin with).
struct BytePage : AnsiText {
  explicit BytePage(char16_t from = 0x80) : first(from) {}

  void Widen(std::string_view narrow, std::u16string& wide) const override {
    wide.clear();
    for (const unsigned char c : narrow)
      wide += static_cast<char16_t>(c < 0x80 ? c : first + c - 0x80);
  }
  void Narrow(std::u16string_view wide, std::string& narrow) const override {
    narrow.clear();
    for (const char16_t c : wide) narrow += static_cast<char>(c < 0x80 ? c : c - first + 0x80);
  }
  [[nodiscard]] bool IsSingleByte() const override { return true; }
  [[nodiscard]] bool Holds(std::u16string_view text) const {
    return std::ranges::all_of(
        text, [this](int c) { return c < 0x80 || (c >= first && c < first + 0x80); });
  }

  const char16_t first;
};

/// A multi-byte page that can hold any text, broken surrogates included: two bytes a unit, so
/// turned that no markup looks like ASCII.
struct PairPage : AnsiText {
  static constexpr char16_t kTurn = 0x8080;

  void Widen(std::string_view narrow, std::u16string& wide) const override {
    wide.resize(narrow.size() / 2);
    std::memcpy(wide.data(), narrow.data(), 2 * wide.size());
    for (char16_t& unit : wide) unit ^= kTurn;
  }
  void Narrow(std::u16string_view wide, std::string& narrow) const override {
    std::u16string turned(wide);
    for (char16_t& unit : turned) unit ^= kTurn;
    narrow.assign(reinterpret_cast<const char*>(turned.data()), 2 * turned.size());
  }
  [[nodiscard]] bool IsSingleByte() const override { return false; }
};

/// A line of gate-texts.txt, and the place in it where the gate finds it bad, if it is marked.
struct GateText {
  std::u16string text;
  std::size_t fault = std::u16string::npos;
};

inline GateText Unescaped(std::string_view line) {
  GateText read;
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (line[at] != '\\') {
      read.text += static_cast<char16_t>(line[at]);
    } else if (line[++at] == 'u') {
      read.text += static_cast<char16_t>(std::stoul(std::string(line.substr(at + 2, 4)), {}, 16));
      at += 6;
    } else if (line[at] == '!') {
      read.fault = read.text.size();
    } else {
      read.text += line[at] == 'n' ? u'\n' : line[at] == 'r' ? u'\r' : u'\t';
    }
  }
  return read;
}

/// The lines of gate-texts.txt by their mark: "good", "bad" or "piece".
[[nodiscard]] inline const std::vector<GateText>& GateTexts(const std::string& mark) {
  static const auto kTexts = [] {
    std::map<std::string, std::vector<GateText>> texts;
    std::ifstream file(TLKC2_GATE_TEXTS);
    for (std::string line; std::getline(file, line);) {
      if (line.starts_with('#')) continue;
      const std::size_t end = line.find(' ');
      texts[line.substr(0, end)].push_back(
          Unescaped(line.substr(std::min(end, line.size() - 1) + 1)));
    }
    return texts;
  }();
  return kTexts.at(mark);
}

/// The text as UTF-8; a surrogate without its partner becomes three bytes that are none.
[[nodiscard]] inline std::string Utf8(std::u16string_view text) {
  std::string utf8;
  for (std::size_t at = 0, size = 1; at < text.size(); at += size) {
    const bool isHigh = (text[at] & 0xFC00) == 0xD800;
    size = isHigh && at + 1 < text.size() && (text[at + 1] & 0xFC00) == 0xDC00 ? 2 : 1;
    if (size == 1 && (text[at] & 0xF800) == 0xD800) {
      utf8 += "\xED\xA0\x80";
    } else {
      AppendUtf8(text.substr(at, size), utf8);
    }
  }
  return utf8;
}

/// Whether the oracle takes the text and has seen no document type declaration in it. The gate lets
/// in no zero character anywhere, so neither does this.
[[nodiscard]] inline bool OracleAccepts(std::u16string_view text) {
  // It stands between a namespace name and a local name, and in no local name; unlike other such
  // characters the parser lets it into a namespace name too.
  constexpr char kSeparator = ')';
  if (text.find(u'\0') != std::u16string_view::npos) return false;
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
      XML_ParserCreateNS("UTF-8", kSeparator), XML_ParserFree);
  bool declared = false;
  XML_SetUserData(parser.get(), &declared);
  XML_SetStartDoctypeDeclHandler(parser.get(),
                                 [](void* seen, auto...) { *static_cast<bool*>(seen) = true; });
  const std::string utf8 = Utf8(text);
  const auto status = XML_Parse(parser.get(), utf8.data(), static_cast<int>(utf8.size()), XML_TRUE);
  return status == XML_STATUS_OK && !declared;
}

}  // namespace tlk::test
