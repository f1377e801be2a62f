#pragma once

#include <netinet/in.h>

#include "platform/posix/MessageLoop.h"
#include "tests/platform/posix/LoopbackPeer.h"

namespace tlk {

/// A window that the sockets of a loop cannot reach.
class AbsentWindow {
 public:
  operator ControlWindow&() { return m_window; }

 private:
  MessageLoop m_otherLoop;
  MessageWindow m_window{m_otherLoop};
};

}  // namespace tlk
