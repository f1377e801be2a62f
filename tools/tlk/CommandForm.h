#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tlk {

/// What a word of a command must be.
enum class WordKind {
  kNone,      ///< There is no such word.
  kText,      ///< Anything.
  kDocument,  ///< Anything; `@FILE` stands for what the file holds.
  kNumber,    ///< A whole number within limits.
  kChoice,    ///< One of two words.
  kCommand,   ///< The name of a command.
  kRest,      ///< All that follows, at least one word, which the caller reads.
};

/// A word of a command; the limits are for numbers.
struct WordForm {
  std::string_view name;
  WordKind kind = WordKind::kNone;
  std::int64_t least = std::numeric_limits<std::int32_t>::min();
  std::int64_t most = std::numeric_limits<std::int32_t>::max();
  std::array<std::string_view, 2> choices = {};
};

/// A command: its name, how many words must follow, what they are, and what it does, in one line or
/// more. The words behind those that must follow come all together or not at all, or else one by
/// one.
struct CommandForm {
  std::string_view name;
  std::size_t needed = 0;
  std::array<WordForm, 5> words = {};
  std::string_view about = {};
  bool oneByOne = false;
};

/// How many words the form knows.
[[nodiscard]] std::size_t CountWords(const CommandForm& form);

/// The commands that tell of the others.
inline constexpr WordForm kCommandWord{"COMMAND", WordKind::kCommand};
inline constexpr CommandForm kHelpForm{
    "help", 0, {kCommandWord}, "tell of the commands, or of that one"};
inline constexpr CommandForm kShortHelpForm{"?", 0, {kCommandWord}, "the same"};

/// How a command is used and what it does, in lines, each ended.
[[nodiscard]] std::string Explain(const CommandForm& form);
[[nodiscard]] std::string Explain(std::span<const CommandForm> forms);

/// The forms of a table of commands, whose entries have a member `form`.
template <typename Entry, std::size_t count>
[[nodiscard]] std::vector<CommandForm> FormsOf(const std::array<Entry, count>& table) {
  std::vector<CommandForm> forms;
  forms.reserve(count);
  for (const auto& entry : table) forms.push_back(entry.form);
  return forms;
}

/// A word that was read by its form.
struct Argument {
  std::string text;         ///< Of a text or a document.
  std::int64_t number = 0;  ///< The number, or which of the choices it was, from 0.

  [[nodiscard]] std::int32_t Signed() const { return static_cast<std::int32_t>(number); }
  [[nodiscard]] std::uint32_t Unsigned() const { return static_cast<std::uint32_t>(number); }
};

using Arguments = std::vector<Argument>;

/// Splits a line of input into words, none when it is blank or a comment (`#` first); false, and
/// what is wrong with it in `error`, when it cannot be split.
[[nodiscard]] bool SplitCommand(std::string_view line, std::vector<std::string>& words,
                                std::string& error);

/// Reads the words behind a command's name: an argument for each that is there and not of the kind
/// `kRest`. Returns what is wrong with them, or nothing.
[[nodiscard]] std::string ReadArguments(const CommandForm& form, std::span<const std::string> words,
                                        Arguments& arguments);

[[nodiscard]] std::string UnknownCommand(std::string_view name);

/// What the words of a line say: an entry of a table of commands, and its arguments; or what is
/// wrong with them.
template <typename Entry>
struct MatchedCommand {
  const Entry* entry = nullptr;
  Arguments arguments;
  std::string error;
};

/// Finds the command that `words`, of which there is one at least, name in a table, whose entries
/// have a member `form`.
template <typename Entry, std::size_t count>
[[nodiscard]] MatchedCommand<Entry> MatchCommand(const std::array<Entry, count>& table,
                                                 std::span<const std::string> words) {
  MatchedCommand<Entry> matched;
  const auto found = std::find_if(table.begin(), table.end(), [&](const Entry& entry) {
    return entry.form.name == words.front();
  });
  if (found == table.end()) {
    matched.error = UnknownCommand(words.front());
    return matched;
  }
  matched.entry = &*found;
  matched.error = ReadArguments(found->form, words.subspan(1), matched.arguments);
  return matched;
}

}  // namespace tlk
