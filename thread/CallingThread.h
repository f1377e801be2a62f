#pragma once

#include <cstdint>

#include "platform/Synchronisation.h"
#include "thread/ThreadLayer.h"

namespace tlk {

/// The number of the calling thread, never 0. Every lock asks for it each time it is taken.
[[nodiscard]] inline std::uint32_t CallingThread() {
  return ThreadLayer::Ports().synchronisation.CurrentThreadId();
}

}  // namespace tlk
