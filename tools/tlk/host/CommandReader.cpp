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
    KnownCommand{{"connect", 2, {kServer, kPort}}, CommandKind::kConnect},
    KnownCommand{{"disconnect", 0, {}}, CommandKind::kDisconnect},
    KnownCommand{{"status", 0, {}}, CommandKind::kStatus},
    KnownCommand{{"send", 1, {kType, kData}}, CommandKind::kSend},
    KnownCommand{{"request", 3, {kType, kData, kTimeout}}, CommandKind::kRequest},
    KnownCommand{{"pump", 1, {kMilliseconds}}, CommandKind::kPump},
    KnownCommand{{"wait", 2, {kEvent, kMilliseconds}}, CommandKind::kWait},
    KnownCommand{{"on", 2, {kEvent, kHandler}}, CommandKind::kOn},
    KnownCommand{{"new", 0, {}}, CommandKind::kNew},
    KnownCommand{{"use", 1, {kControl}}, CommandKind::kUse},
    KnownCommand{{"destroy", 0, {}}, CommandKind::kDestroy},
    KnownCommand{{"quit", 0, {}}, CommandKind::kQuit},
};

using Words = std::span<const std::string>;

ReadResult Failure(std::string text) { return {std::nullopt, std::move(text)}; }

ReadResult ReadWords(Words words, int depth) {
  auto matched = MatchCommand(kCommands, words);
  if (!matched.error.empty()) return Failure(std::move(matched.error));

  Command command;
  command.kind = matched.entry->kind;
  command.arguments = std::move(matched.arguments);
  const Words handler = words.subspan(1 + command.arguments.size());
  if (!handler.empty()) {
    if (depth == kMaxHandlerDepth) return Failure("too many handlers within handlers");
    ReadResult inner = ReadWords(handler, depth + 1);
    if (!inner.command) return inner;
    command.handler = std::make_shared<const Command>(*std::move(inner.command));
  }
  return {std::move(command), {}};
}

}  // namespace

ReadResult ReadCommand(std::string_view line) {
  std::vector<std::string> words;
  std::string error;
  if (!SplitCommand(line, words, error)) return Failure(std::move(error));
  return words.empty() ? ReadResult() : ReadWords(words, 0);
}

}  // namespace tlk::host
