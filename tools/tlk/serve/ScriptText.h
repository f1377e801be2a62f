#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/CommandForm.h"

namespace tlk::serve {

/// Why a text that somebody wrote for the server cannot be followed. What it says begins with the
/// place, unless the fault is with the whole: "line 3, column 7: ...".
class ScriptError : public std::runtime_error {
 public:
  explicit ScriptError(const std::string& what) : std::runtime_error(what) {}
  /// Both count from 1, the column in bytes.
  ScriptError(int line, std::size_t column, const std::string& what);
};

/// A line that says something, without the blanks around it.
struct ScriptLine {
  int number = 0;
  std::size_t column = 1;  ///< Of its first byte in the file.
  std::string text;
};

/// The lines of a text but those that are blank or begin with `#`. They end with "\n" or "\r\n".
[[nodiscard]] std::vector<ScriptLine> SplitLines(std::string_view text);

/// The text of a file, in the ANSI code page. One that begins with the mark of UTF-8 is taken for
/// that and converted. Throws `ScriptError` when it cannot be read, and of one that is too long or
/// no such text.
[[nodiscard]] std::string ReadScriptFile(const std::string& path);

/// The words of a line, of which there is one at least.
class LineWords {
 public:
  /// Throws `ScriptError` when the line cannot be split.
  explicit LineWords(const ScriptLine& line);

  [[nodiscard]] std::span<const std::string> Words() const { return m_words; }

  /// Fails at the word of that number, from 0, or where it would stand.
  [[noreturn]] void Fail(std::size_t word, const std::string& what) const;

 private:
  const ScriptLine& m_line;
  std::vector<std::string> m_words;
  std::vector<std::size_t> m_begins;
};

/// "expected accept, client, ... or reset".
template <typename Entry, std::size_t count>
[[nodiscard]] std::string ExpectedNames(const std::array<Entry, count>& table) {
  std::string names = "expected ";
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) names += i + 1 < count ? ", " : " or ";
    names += table[i].form.name;
  }
  return names;
}

/// Finds in a table the command that begins with the word `first` of a line; throws `ScriptError`
/// when there is none there, or when its words are not as its form says.
template <typename Entry, std::size_t count>
[[nodiscard]] MatchedCommand<Entry> MatchLine(const std::array<Entry, count>& table,
                                              const LineWords& line, std::size_t first = 0) {
  const auto words = line.Words().subspan(std::min(first, line.Words().size()));
  if (words.empty()) line.Fail(first, ExpectedNames(table));
  auto matched = MatchCommand(table, words);
  if (matched.entry == nullptr) {
    line.Fail(first, matched.error + ": " + ExpectedNames(table));
  } else if (!matched.error.empty()) {
    const auto most = CountWords(matched.entry->form);
    const auto given = words.size() - 1;
    const bool fits = given >= matched.entry->form.needed && given <= most;
    const auto bad = fits ? matched.arguments.size() : std::min(given, most);
    line.Fail(first + 1 + bad, matched.error);
  }
  return matched;
}

}  // namespace tlk::serve
