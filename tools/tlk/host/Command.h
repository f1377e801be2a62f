#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "tools/tlk/CommandForm.h"

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
  kHelp,
  kQuit,
};

/// The two events of a control. The numbers index arrays of `kEventKinds` places.
enum class EventKind : std::size_t { kStatus, kMessage };
inline constexpr std::size_t kEventKinds = 2;

/// One command of the console, its words checked by its form in CommandReader.cpp.
struct Command {
  CommandKind kind = CommandKind::kQuit;
  Arguments arguments;                     ///< As its form says; text is narrow ANSI text.
  std::shared_ptr<const Command> handler;  ///< What `on` runs.
  std::uint64_t line = 0;                  ///< The number of the line that it stands in.

  /// What `wait` and `on` wait for.
  [[nodiscard]] EventKind Event() const { return static_cast<EventKind>(arguments[0].number); }
};

}  // namespace tlk::host
