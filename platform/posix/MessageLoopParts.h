#pragma once

#include "platform/posix/MessageLoop.h"
#include "platform/posix/PosixSockets.h"
#include "platform/posix/PostedCalls.h"
#include "platform/posix/TimerQueue.h"

namespace tlk {

/// What a loop is made of; programs that have one are not compiled with it.
struct MessageLoop::Parts {
  PosixSockets sockets;
  TimerQueue timers;
  PostedCalls calls{sockets.WaitDescriptor()};  // Ends first: nothing wakes the sockets' own end.
};

}  // namespace tlk
