#include "tools/tlk/Words.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace tlk {
namespace {

constexpr std::string_view kBlanks = " \t";

struct Escape {
  char letter;
  char meaning;
};

constexpr Escape kEscapes[] = {{'"', '"'}, {'\\', '\\'}, {'n', '\n'}, {'r', '\r'}, {'t', '\t'}};

void AppendQuoted(std::string& quoted, char byte) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  const auto number = static_cast<unsigned char>(byte);
  if (byte == '"' || byte == '\\') {
    quoted += '\\';
    quoted += byte;
  } else if (number < 0x20 || number > 0x7E) {
    quoted += "\\x";
    quoted += kHexDigits[number >> 4U];
    quoted += kHexDigits[number & 0xFU];
  } else {
    quoted += byte;
  }
}

/// A line and the place where it is being read.
class WordReader {
 public:
  explicit WordReader(std::string_view line) : m_rest(line) {}

  [[nodiscard]] bool SkipToWord() {
    m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
    return !m_rest.empty();
  }

  /// Bytes that have not been read.
  [[nodiscard]] std::size_t Left() const { return m_rest.size(); }

  [[nodiscard]] bool ReadWord(std::string& word, std::string& error) {
    return m_rest.front() == '"' ? ReadQuoted(word, error) : ReadPlain(word);
  }

 private:
  bool ReadPlain(std::string& word) {
    word = m_rest.substr(0, m_rest.find_first_of(kBlanks));
    m_rest.remove_prefix(word.size());
    return true;
  }

  bool ReadQuoted(std::string& word, std::string& error) {
    m_rest.remove_prefix(1);
    while (!m_rest.empty() && m_rest.front() != '"') {
      const auto byte = m_rest.front() == '\\' ? ReadEscape(error) : ReadByte();
      if (!byte) return false;
      word += *byte;
    }
    return CloseQuote(error);
  }

  bool CloseQuote(std::string& error) {
    if (m_rest.empty()) {
      error = "open quote";
      return false;
    }
    m_rest.remove_prefix(1);
    if (!m_rest.empty() && kBlanks.find(m_rest.front()) == std::string_view::npos) {
      error = "no blank behind a closing quote";
      return false;
    }
    return true;
  }

  std::optional<char> ReadByte() {
    const char byte = m_rest.front();
    m_rest.remove_prefix(1);
    return byte;
  }

  std::optional<char> ReadEscape(std::string& error) {
    for (const auto& escape : kEscapes) {
      if (m_rest.substr(1, 1) == std::string_view(&escape.letter, 1)) {
        m_rest.remove_prefix(2);
        return escape.meaning;
      }
    }
    const auto byte = ReadHexEscape();
    if (!byte) {
      error = "unknown escape \\";
      for (const char letter : m_rest.substr(1, 1)) AppendQuoted(error, letter);
    }
    return byte;
  }

  std::optional<char> ReadHexEscape() {
    const auto digits = m_rest.substr(std::min<std::size_t>(2, m_rest.size()), 2);
    unsigned char byte = 0;
    const auto* end = digits.data() + digits.size();
    const auto read = std::from_chars(digits.data(), end, byte, 16);
    if (m_rest.substr(1, 1) != "x" || digits.size() != 2 || read.ptr != end) return std::nullopt;
    m_rest.remove_prefix(4);
    return static_cast<char>(byte);
  }

  std::string_view m_rest;
};

}  // namespace

bool SplitWords(std::string_view line, std::vector<std::string>& words, std::string& error) {
  WordPlaces places;
  return SplitWords(line, words, error, places);
}

bool SplitWords(std::string_view line, std::vector<std::string>& words, std::string& error,
                WordPlaces& places) {
  words.clear();
  places = {};
  WordReader reader(line);
  while (reader.SkipToWord()) {
    places.begins.push_back(line.size() - reader.Left());
    std::string word;
    if (!reader.ReadWord(word, error)) {
      places.fault = line.size() - reader.Left();
      return false;
    }
    words.push_back(std::move(word));
  }
  return true;
}

std::string Quote(std::string_view text) {
  std::string quoted = "\"";
  for (const char byte : text) {
    AppendQuoted(quoted, byte);
  }
  return quoted += '"';
}

}  // namespace tlk
