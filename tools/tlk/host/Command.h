#pragma once

#include <cstddef>
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

  /// What `wait` and `on` wait for.
  [[nodiscard]] EventKind Event() const { return static_cast<EventKind>(arguments[0].number); }
};

}  // namespace tlk::host
