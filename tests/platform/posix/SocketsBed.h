#pragma once

#include <chrono>

#include "platform/posix/MessageWindow.h"
#include "tests/platform/posix/LoopbackPeer.h"

namespace tlk {

/// What may end while bytes are on their way, to a peer that pauses before each half of them.
inline constexpr const char* kEndings[] = {"loop", "thread"};
inline constexpr std::chrono::seconds kPause{0};

}  // namespace tlk
