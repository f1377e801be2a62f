#pragma once

#include <memory>

#include "platform/Platform.h"
#include "tools/tlk/SilentLog.h"
#include "tools/tlk/message/SystemDom.h"
#include "xml/Codec.h"
#include "xml/Gate.h"

namespace tlk::message {

/// All that messages are built and read with on this thread. It leaves no record.
struct Workshop {
  std::unique_ptr<DomFactory> dom = NewSystemDom();
  XmlGate gate{SystemPlatform().text};
  SilentLog log;
  Codec codec{*dom, SystemPlatform().text, gate, log};
};

}  // namespace tlk::message
