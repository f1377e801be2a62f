#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/host/Command.h"

namespace tlk::host {

/// What a line of input says: a command; or what is wrong with it; or neither, when it is blank or
/// a comment (`#` first).
struct ReadResult {
  std::optional<Command> command;
  std::string error;
};

/// How deep the handler of a handler of a handler may go.
inline constexpr int kMaxHandlerDepth = 64;

/// Reads one line, its line end cut off; `number` is the line's.
[[nodiscard]] ReadResult ReadCommand(std::string_view line, std::uint64_t number);

/// The forms of all commands.
[[nodiscard]] std::vector<CommandForm> AllForms();

}  // namespace tlk::host
