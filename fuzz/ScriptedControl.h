#pragma once

#include <cstdio>
#include <string>

#include "fuzz/Fuzzing.h"
#include "tests/scripted/ScriptedControl.h"
#include "transport/TraceLog.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::fuzz {

using test::OpenControl;
using ScriptedPorts = test::ScriptedPorts<PugiDomFactory>;

/// Bytes from a peer: as the input has them, or put into a message that tells its true length.
inline std::string PeerBytes(Input& input) {
  const bool isStamped = input.Choice(2) == 1;
  std::string bytes = input.Text();
  if (!isStamped) return bytes;
  char head[] = "<TLK_Message Length=\"0000000\"";
  std::snprintf(head, sizeof head, "<TLK_Message Length=\"%07u\"",
                static_cast<unsigned>(sizeof head - 1 + bytes.size()) % 10'000'000);
  return head + bytes;
}

}  // namespace tlk::fuzz
