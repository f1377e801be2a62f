#pragma once

#include <winsock2.h>

#include <ws2tcpip.h>

#include "platform/windows/OwnedSocket.h"

namespace tlk {

using PeerSocket = OwnedSocket;
using PeerSize = int;
inline constexpr int kNoSignal = 0;
inline int poll(pollfd* waits, unsigned long count, int milliseconds) {
  return ::WSAPoll(waits, count, milliseconds);
}

}  // namespace tlk

#include "tests/platform/Peer.h"
