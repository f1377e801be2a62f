#pragma once

#include "control/Tlkc.h"
#include "tests/scripted/RecordingLogger.h"
#include "tests/scripted/ScriptedFiles.h"
#include "tests/scripted/ScriptedSockets.h"
#include "tests/scripted/ScriptedStringTable.h"
#include "tests/scripted/ScriptedSurroundings.h"
#include "tests/scripted/ScriptedWindow.h"
#include "xml/Gate.h"

namespace tlk::test {

/// A control whose state can be seen and set.
class OpenControl final : public CTlkc {
 public:
  using CTlkc::CTlkc;
  using CTlkc::m_clientId;
  using CTlkc::m_expectedLength;
  using CTlkc::m_keepAliveIntervalMs;
  using CTlkc::m_maxPendingOut;
  using CTlkc::m_pendingOut;
  using CTlkc::m_recvText;
  using CTlkc::m_socket;
  using CTlkc::m_status;
};

/// What a control stands on, all of it scripted but the codec's part.
template <typename Dom>
struct ScriptedPorts {
  ScriptedSockets sockets;
  ScriptedWindow window;
  ScriptedStringTable strings;
  ScriptedSurroundings surroundings;
  ScriptedFiles files;
  RecordingLogger log;
  Platform platform{SystemPlatform().text, strings, SystemPlatform().synchronisation, surroundings,
                    files};
  Dom dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};
  ControlPorts ports{sockets, window, platform, dom, gate, log};
};

}  // namespace tlk::test
