#pragma once

#include <cstdint>

#include "platform/Platform.h"
#include "platform/Surroundings.h"

namespace tlk::tap {

/// The way that bytes go through a tap.
enum class Way { kFromClient, kFromServer };

/// When something was seen: on the clock, and in milliseconds that never step back.
struct Moment {
  LocalTime local;
  std::uint64_t tick = 0;

  [[nodiscard]] static Moment Now() {
    const auto& surroundings = SystemPlatform().surroundings;
    return {surroundings.Now(), surroundings.TickCount()};
  }
};

/// How a connection through a tap came to its end.
enum class Ending {
  kClosed,       ///< Both sides had ended their streams.
  kClientReset,  ///< Or it was lost on the client's side.
  kServerReset,  ///< Or it was lost on the server's side, or the server could not be reached.
  kTapStopped,
};

}  // namespace tlk::tap
