#include "tools/tlk/host/CommandReader.h"

#include <array>
#include <span>
#include <utility>
#include <vector>

#include "tools/tlk/CommandForm.h"

namespace tlk::host {
namespace {

constexpr WordForm kServer{"SERVER", WordKind::kText};
constexpr WordForm kPort{"PORT", WordKind::kNumber};
constexpr WordForm kType{"TYPE", WordKind::kText};
constexpr WordForm kData{"DATA", WordKind::kText};
constexpr WordForm kTimeout{"TIMEOUT_MS", WordKind::kNumber, 0};
constexpr WordForm kMilliseconds{"MS", WordKind::kNumber, 0};
constexpr WordForm kControl{"N", WordKind::kNumber, 1};
// In the order of EventKind.
constexpr WordForm kEvent{
    .name = "EVENT", .kind = WordKind::kChoice, .choices = {"status", "message"}};
constexpr WordForm kHandler{"COMMAND...", WordKind::kRest};

struct KnownCommand {
  CommandForm form;
  CommandKind kind;
};

constexpr std::array kCommands{
    KnownCommand{{"connect", 2, {kServer, kPort}, "connect the control to a message server"},
                 CommandKind::kConnect},
    KnownCommand{{"disconnect", 0, {}, "end the connection"}, CommandKind::kDisconnect},
    KnownCommand{{"status", 0, {}, "ask for its status: 0 none, 3 connected"},
                 CommandKind::kStatus},
    KnownCommand{{"send", 1, {kType, kData}, "send a message; DATA is one XML element"},
                 CommandKind::kSend},
    KnownCommand{
        {"request", 3, {kType, kData, kTimeout}, "send a message and wait for the next one"},
        CommandKind::kRequest},
    KnownCommand{{"pump", 1, {kMilliseconds}, "deliver notifications and timers for that long"},
                 CommandKind::kPump},
    KnownCommand{{"wait",
                  2,
                  {kEvent, kMilliseconds},
                  "deliver until the next event of the control in\n"
                  "use; EVENT is status or message"},
                 CommandKind::kWait},
    KnownCommand{{"on", 2, {kEvent, kHandler}, "run a command in the handler of its next event"},
                 CommandKind::kOn},
    KnownCommand{{"new", 0, {}, "make another control and use it"}, CommandKind::kNew},
    KnownCommand{{"use", 1, {kControl}, "use control N"}, CommandKind::kUse},
    KnownCommand{{"destroy", 0, {}, "end the control in use"}, CommandKind::kDestroy},
    KnownCommand{kHelpForm, CommandKind::kHelp},
    KnownCommand{kShortHelpForm, CommandKind::kHelp},
    KnownCommand{{"quit", 0, {}, "end, as the end of the input does"}, CommandKind::kQuit},
    KnownCommand{{"exit", 0, {}, "the same"}, CommandKind::kQuit},
};

using Words = std::span<const std::string>;

ReadResult Failure(std::string text) { return {std::nullopt, std::move(text)}; }

ReadResult ReadWords(Words words, std::uint64_t line, int depth) {
  auto matched = MatchCommand(kCommands, words);
  if (!matched.error.empty()) return Failure(std::move(matched.error));

  Command command;
  command.kind = matched.entry->kind;
  command.line = line;
  command.arguments = std::move(matched.arguments);
  const Words handler = words.subspan(1 + command.arguments.size());
  if (!handler.empty()) {
    if (depth == kMaxHandlerDepth) return Failure("too many handlers within handlers");
    ReadResult inner = ReadWords(handler, line, depth + 1);
    if (!inner.command) return inner;
    command.handler = std::make_shared<const Command>(*std::move(inner.command));
  }
  return {std::move(command), {}};
}

}  // namespace

ReadResult ReadCommand(std::string_view line, std::uint64_t number) {
  std::vector<std::string> words;
  std::string error;
  if (!SplitCommand(line, words, error)) return Failure(std::move(error));
  return words.empty() ? ReadResult() : ReadWords(words, number, 0);
}

std::vector<CommandForm> AllForms() { return FormsOf(kCommands); }

}  // namespace tlk::host
