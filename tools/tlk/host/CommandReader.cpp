#include "tools/tlk/host/CommandReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <span>
#include <utility>

#include "tools/tlk/Words.h"

namespace tlk::host {
namespace {

enum class WordKind { kNone, kText, kNumber, kEvent, kCommand };

/// What a word of a command must be; `least` and `most` are for numbers.
struct WordForm {
  std::string_view name;
  WordKind kind = WordKind::kNone;
  std::int32_t least = 0;
  std::int32_t most = std::numeric_limits<std::int32_t>::max();
};

constexpr WordForm kServer{"SERVER", WordKind::kText};
constexpr WordForm kPort{"PORT", WordKind::kNumber, std::numeric_limits<std::int32_t>::min()};
constexpr WordForm kType{"TYPE", WordKind::kText};
constexpr WordForm kData{"DATA", WordKind::kText};
constexpr WordForm kTimeout{"TIMEOUT_MS", WordKind::kNumber};
constexpr WordForm kMilliseconds{"MS", WordKind::kNumber};
constexpr WordForm kControl{"N", WordKind::kNumber, 1};
constexpr WordForm kEvent{"EVENT", WordKind::kEvent};
constexpr WordForm kHandler{"COMMAND...", WordKind::kCommand};

/// A command: its name, the words that follow, and how many of them must be there.
struct CommandForm {
  std::string_view name;
  CommandKind kind;
  std::size_t needed;
  std::array<WordForm, 3> words;
};

constexpr std::array kCommandForms{
    CommandForm{"connect", CommandKind::kConnect, 2, {kServer, kPort}},
    CommandForm{"disconnect", CommandKind::kDisconnect, 0, {}},
    CommandForm{"status", CommandKind::kStatus, 0, {}},
    CommandForm{"send", CommandKind::kSend, 1, {kType, kData}},
    CommandForm{"request", CommandKind::kRequest, 3, {kType, kData, kTimeout}},
    CommandForm{"pump", CommandKind::kPump, 1, {kMilliseconds}},
    CommandForm{"wait", CommandKind::kWait, 2, {kEvent, kMilliseconds}},
    CommandForm{"on", CommandKind::kOn, 2, {kEvent, kHandler}},
    CommandForm{"new", CommandKind::kNew, 0, {}},
    CommandForm{"use", CommandKind::kUse, 1, {kControl}},
    CommandForm{"destroy", CommandKind::kDestroy, 0, {}},
    CommandForm{"quit", CommandKind::kQuit, 0, {}},
};

struct EventName {
  std::string_view name;
  EventKind kind;
};

constexpr std::array kEventNames{
    EventName{"status", EventKind::kStatus},
    EventName{"message", EventKind::kMessage},
};

using Words = std::span<std::string>;

ReadResult Failure(std::string text) { return {std::nullopt, std::move(text)}; }

std::string Usage(const CommandForm& form) {
  std::string usage(form.name);
  for (std::size_t i = 0; i < form.words.size() && form.words[i].kind != WordKind::kNone; ++i) {
    const std::string name(form.words[i].name);
    usage += i < form.needed ? " " + name : " [" + name + "]";
  }
  return usage;
}

bool CountFits(const CommandForm& form, std::size_t count) {
  const auto isKind = [&form](WordKind kind) {
    return std::count_if(form.words.begin(), form.words.end(),
                         [kind](const WordForm& word) { return word.kind == kind; });
  };
  const std::size_t most = form.words.size() - static_cast<std::size_t>(isKind(WordKind::kNone));
  return count >= form.needed && (count <= most || isKind(WordKind::kCommand) != 0);
}

/// Each reader of a word returns what is wrong with it, or nothing.
std::string ReadNumber(const WordForm& form, const std::string& word, std::int32_t& number) {
  const char* const end = word.data() + word.size();
  const auto [stop, code] = std::from_chars(word.data(), end, number);
  if (code == std::errc{} && stop == end && number >= form.least && number <= form.most) return {};
  return std::string(form.name) + " must be a whole number from " + std::to_string(form.least) +
         " to " + std::to_string(form.most) + ", not " + Quote(word);
}

std::string ReadEvent(const WordForm& form, const std::string& word, EventKind& event) {
  const auto* const found = std::find_if(kEventNames.begin(), kEventNames.end(),
                                         [&](const EventName& name) { return name.name == word; });
  if (found == kEventNames.end()) {
    return std::string(form.name) + " must be status or message, not " + Quote(word);
  }
  event = found->kind;
  return {};
}

ReadResult ReadWords(Words words, int depth);

std::string ReadHandler(Words words, int depth, std::shared_ptr<const Command>& handler) {
  if (depth == kMaxHandlerDepth) return "too many handlers within handlers";
  ReadResult inner = ReadWords(words, depth + 1);
  if (inner.command) handler = std::make_shared<const Command>(*std::move(inner.command));
  return std::move(inner.error);
}

/// Reads the first of `words`, or all of them where the form takes the rest of the line.
std::string ReadWord(const WordForm& form, Words words, int depth, Command& command) {
  switch (form.kind) {
    case WordKind::kText:
      command.texts.push_back(words.empty() ? std::string() : std::move(words.front()));
      return {};
    case WordKind::kNumber:
      return ReadNumber(form, words.front(), command.number);
    case WordKind::kEvent:
      return ReadEvent(form, words.front(), command.event);
    case WordKind::kCommand:
      return ReadHandler(words, depth, command.handler);
    case WordKind::kNone:
      break;
  }
  return {};
}

ReadResult ReadWords(Words words, int depth) {
  const auto* const form =
      std::find_if(kCommandForms.begin(), kCommandForms.end(),
                   [&](const CommandForm& known) { return known.name == words.front(); });
  if (form == kCommandForms.end()) return Failure("unknown command " + Quote(words.front()));

  words = words.subspan(1);
  if (!CountFits(*form, words.size())) return Failure("wrong number of words: " + Usage(*form));

  Command command;
  command.kind = form->kind;
  for (const WordForm& word : form->words) {
    if (std::string error = ReadWord(word, words, depth, command); !error.empty()) {
      return Failure(std::move(error));
    }
    if (!words.empty()) words = words.subspan(1);
  }
  return {std::move(command), {}};
}

}  // namespace

ReadResult ReadCommand(std::string_view line) {
  const std::size_t start = line.find_first_not_of(" \t");
  if (start == std::string_view::npos || line[start] == '#') return {};

  std::vector<std::string> words;
  std::string error;
  if (!SplitWords(line, words, error)) return Failure(std::move(error));
  return ReadWords(words, 0);
}

}  // namespace tlk::host
