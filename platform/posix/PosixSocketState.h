#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/posix/NotificationReceiver.h"
#include "platform/posix/OwnedDescriptor.h"
#include "platform/posix/PosixSockets.h"
#include "platform/posix/ReadAhead.h"

namespace tlk {

struct PosixSockets::State {
  [[nodiscard]] std::string_view Backlog() const {
    return std::string_view(backlog).substr(backlogSent);
  }
  /// Whether bytes lie here of which the window is still to be told.
  [[nodiscard]] bool IsReadDue() const { return ahead != nullptr && mask != 0 && !readTold; }
  [[nodiscard]] Life CurrentLife() const { return {descriptor.Get(), number}; }

  OwnedDescriptor descriptor;
  std::uint32_t number = 0;
  bool isConnected = false;
  bool isClosed = false;  // by its owner, with bytes that are still to go out
  bool blocking = true;
  std::int32_t sendTimeout = 0;
  std::int32_t receiveTimeout = 0;

  // What the system has not yet taken of a text that a send took whole.
  std::string backlog;
  std::size_t backlogSent = 0;

  std::unique_ptr<ReadAhead> ahead;  // null unless it holds bytes
  int receiveError = 0;              // met behind these bytes, and still to be reported

  NotificationReceiver* receiver = nullptr;
  std::uint32_t message = 0;
  std::uint32_t mask = 0;
  std::uint32_t watched = 0;  // what the epoll set watches the descriptor for

  bool writePosted = false;   // a write notification waits to be delivered
  bool awaitingRoom = false;  // a send has reported would-block
  bool readTold = false;      // a read notification was delivered and no receive was made since
  bool closeTold = false;
  bool endSeen = false;           // a receive has met the end of the stream
  int error = 0;                  // what ended the connection while nobody was calling
  std::uint64_t lastReceive = 0;  // the round of waiting in which the last receive was made
};

}  // namespace tlk
