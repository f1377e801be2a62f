#pragma once

#include <memory>
#include <string>

#include "control/Tlkc.h"
#include "log/iLogger.h"
#include "platform/Export.h"
#include "platform/StandardOutput.h"
#include "platform/Utf8.h"
#include "platform/posix/MessageLoop.h"
#include "xml/Codec.h"

namespace tlk {

/// The trace log of the process, "TLK_Client.log", made on first use. Every control sets its folder
/// to the user's temporary folder; `KeepTraceLogIn` has it stay elsewhere. At the end of the
/// program it gives its writer one more second. The thread layer is held ready with it: the thread
/// that comes first is its main thread. Its echo, and all else that the library prints, is silenced
/// by `SilenceStandardOutput`; the texts of messages are kept out of it by `LeaveOutMessageTexts`,
/// of log/MessageTexts.h.
[[nodiscard]] TLKC2_API iLogger& TraceLog();

/// Has the trace log lie in a folder of the program's choice, whatever controls are made: from the
/// next line to be written on, and `SetDirectory` of `TraceLog()`, which each control calls, has no
/// effect any more. The folder must exist; an empty name is the current one. Another call chooses
/// another folder. Any thread may call it, and a forked child keeps the choice.
TLKC2_API void KeepTraceLogIn(const std::string& folder);

/// What a native program builds and reads message documents with (`TLK_XMLBuilder`,
/// `TLK_XMLParser`): the code page of the process, the built-in DOM, the gate, and the trace log,
/// which gets the failures. It may be copied, and its parts stay until the process ends. Any thread
/// may use it.
[[nodiscard]] TLKC2_API Codec NativeCodec();

/// A control with a window of its own in a message loop: what a native program makes.
///
/// It may be destroyed whenever its thread likes, also inside its own events: the host hears
/// nothing more of it then, and the control itself ends, and its connection with it, silently, when
/// the last call and the last event of it have returned.
///
/// A program that forks has the trace log in the child too, and may make new loops and controls
/// there. Those of the parent are the parent's, and the child must neither use nor destroy them: it
/// would answer their servers beside it. The parent's threads are not there in the child, and locks
/// of the thread layer that were held at the fork stay held.
class TLKC2_API NativeControl {
 public:
  /// `loop` and `events` outlive it.
  NativeControl(MessageLoop& loop, ITlkcEvents& events);
  ~NativeControl();

  NativeControl(const NativeControl&) = delete;
  NativeControl& operator=(const NativeControl&) = delete;

  /// The control, to be called.
  /// @{
  CTlkc* operator->();
  CTlkc& operator*();
  /// @}

 private:
  struct Parts;

  const std::shared_ptr<Parts> m_parts;
};

}  // namespace tlk
