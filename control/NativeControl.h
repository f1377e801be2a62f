#pragma once

#include "control/Tlkc.h"
#include "log/iLogger.h"
#include "platform/posix/MessageLoop.h"

namespace tlk {

/// The trace log of the process, "TLK_Client.log", made on first use. Every control sets its folder
/// to the user's temporary folder. At the end of the program it gives its writer one more second.
/// The thread layer is held ready with it: the thread that comes first is its main thread.
[[nodiscard]] iLogger& TraceLog();

/// What a native control stands on: the system's own ports, the built-in DOM and the trace log of
/// the process.
[[nodiscard]] ControlPorts NativePorts(MessageLoop& loop, MessageWindow& window);

/// A control with a window of its own in a message loop: what a native program makes.
class NativeControl {
 public:
  NativeControl(MessageLoop& loop, ITlkcEvents& events);

  CTlkc* operator->() { return &m_control; }
  CTlkc& operator*() { return m_control; }

 private:
  MessageWindow m_window;
  CTlkc m_control;
};

}  // namespace tlk
