#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "platform/posix/MessageLoop.h"
#include "tests/platform/posix/LoopbackPeer.h"

namespace tlk {

/// What may end while bytes are on their way, to a peer that pauses before each half of them.
struct Ending {
  std::string of;
  std::chrono::seconds pause{0};
};
inline const std::vector<Ending> kEndings{{.of = "ALoop"}, {.of = "AThread"}};

}  // namespace tlk
