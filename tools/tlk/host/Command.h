#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tlk::host {

enum class CommandKind {
  kConnect,
  kDisconnect,
  kStatus,
  kSend,
  kRequest,
  kPump,
  kWait,
  kOn,
  kNew,
  kUse,
  kDestroy,
  kQuit,
};

/// The two events of a control. The numbers index arrays of `kEventKinds` places.
enum class EventKind : std::size_t { kStatus, kMessage };
inline constexpr std::size_t kEventKinds = 2;

/// One command of the console, its words checked. Which fields it fills is said by its form in
/// CommandReader.cpp; no command has two numbers.
struct Command {
  CommandKind kind = CommandKind::kQuit;
  std::vector<std::string> texts;          ///< SERVER, or TYPE and DATA, as narrow ANSI text.
  std::int32_t number = 0;                 ///< PORT, TIMEOUT_MS, MS or N.
  EventKind event = EventKind::kStatus;    ///< What `wait` and `on` wait for.
  std::shared_ptr<const Command> handler;  ///< What `on` runs.
};

}  // namespace tlk::host
