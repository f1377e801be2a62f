#pragma once

#include <memory>

#include "platform/Platform.h"
#include "tools/tlk/wire/SilentLog.h"
#include "tools/tlk/wire/SystemDom.h"
#include "xml/Codec.h"
#include "xml/Gate.h"

namespace tlk::wire {

/// The DOM, the gate and the rest that the codec needs, for this thread. Nothing is logged.
struct Workshop {
  std::unique_ptr<DomFactory> dom = NewSystemDom();
  XmlGate gate{SystemPlatform().text};
  SilentLog log;
  Codec codec{*dom, SystemPlatform().text, gate, log};
};

}  // namespace tlk::wire
