#pragma once

#include <winsock2.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/windows/OwnedSocket.h"
#include "platform/windows/Patience.h"
#include "platform/windows/WindowsSockets.h"

namespace tlk {

struct WindowsSockets::State {
  [[nodiscard]] SOCKET Handle() const { return socket.Get(); }
  [[nodiscard]] std::string_view Backlog() const {
    return std::string_view(backlog).substr(backlogSent);
  }

  /// Sends what the system takes of the backlog; false when it takes none and has an error.
  bool SendOfBacklog();

  /// Sends the backlog until it is out; false when a send failed.
  bool DrainBacklog();

  /// The same, waiting for room: 0, the error of the send that failed, or 10060. The socket does
  /// not block.
  [[nodiscard]] int DrainWaiting(Patience& patience);

  /// Takes what waits to be received, 256 KB at most.
  void Discard();

  /// Asks the system for what this socket's target wants to hear.
  [[nodiscard]] int Select() const;

  /// 0, or the error that ended a stream whose end has been seen.
  [[nodiscard]] int ErrorAtEnd() const;

  /// How a notification of one event is to be treated; as `WindowsSockets::Refine`.
  bool RefineRead();
  bool RefineClose(LPARAM& lParam);

  OwnedSocket socket;
  bool connected = false;  // a connect has succeeded, or is on its way
  bool blocking = true;
  DWORD sendLimit = 0;  // of a blocking send, in milliseconds; 0 for none

  HWND window = nullptr;
  UINT message = 0;
  std::uint32_t mask = 0;

  // What the system has not yet taken of a text that a send took whole.
  std::string backlog;
  std::size_t backlogSent = 0;

  bool writeWanted = false;         // a write notification is due once there is room
  bool readTold = false;            // a read notification was delivered, no receive made since
  std::optional<LPARAM> heldClose;  // a close that came while bytes were waiting
  bool closeTold = false;
  bool isClosed = false;  // nobody receives on it any more
  bool endSeen = false;   // a blocking receive has met the end of the stream
};

}  // namespace tlk
