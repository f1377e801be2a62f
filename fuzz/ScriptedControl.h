#pragma once

#include <algorithm>
#include <cstdio>
#include <string>

#include "control/Tlkc.h"
#include "fuzz/Fuzzing.h"
#include "tests/scripted/RecordingLogger.h"
#include "tests/scripted/ScriptedFiles.h"
#include "tests/scripted/ScriptedSockets.h"
#include "tests/scripted/ScriptedStringTable.h"
#include "tests/scripted/ScriptedSurroundings.h"
#include "tests/scripted/ScriptedWindow.h"
#include "transport/TraceLog.h"
#include "xml/Gate.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::fuzz {

/// Bytes from a peer: as the input has them, or put into a message that tells its true length.
inline std::string PeerBytes(Input& input) {
  const bool isStamped = input.Coin();
  std::string bytes = input.Text();
  if (!isStamped) return bytes;
  char head[] = "<TLK_Message Length=\"0000000\"";
  std::snprintf(head, sizeof head, "<TLK_Message Length=\"%07u\"",
                static_cast<unsigned>(sizeof head - 1 + bytes.size()) % 10'000'000);
  return head + bytes;
}

/// A control whose state can be seen.
class OpenControl final : public CTlkc {
 public:
  using CTlkc::CTlkc;
  using CTlkc::m_clientId;
  using CTlkc::m_pendingOut;
  using CTlkc::m_socket;
  using CTlkc::m_status;
};

/// What a control stands on, all of it scripted but the codec's part.
struct ScriptedPorts {
  explicit ScriptedPorts(Sockets& sockets) : ports{sockets, window, platform, dom, gate, log} {}

  test::ScriptedWindow window;
  test::ScriptedStringTable strings;
  test::ScriptedSurroundings surroundings;
  test::ScriptedFiles files;
  RecordingLogger log;
  Platform platform{SystemPlatform().text, strings, SystemPlatform().synchronisation, surroundings,
                    files};
  PugiDomFactory dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};
  ControlPorts ports;
};

}  // namespace tlk::fuzz
