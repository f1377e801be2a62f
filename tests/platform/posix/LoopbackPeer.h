#pragma once

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstddef>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {

using PeerSocket = OwnedDescriptor;
using PeerSize = std::size_t;
inline constexpr int kNoSignal = MSG_NOSIGNAL;

}  // namespace tlk

#include "tests/platform/Peer.h"
