#pragma once

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <string>

#include "control/Tlkc.h"
#include "fuzz/Fuzzing.h"
#include "tests/scripted/ScriptedFiles.h"
#include "tests/scripted/ScriptedSockets.h"
#include "tests/scripted/ScriptedStringTable.h"
#include "tests/scripted/ScriptedSurroundings.h"
#include "tests/scripted/ScriptedWindow.h"
#include "tools/tlk/SilentLog.h"
#include "xml/Gate.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::fuzz {

/// Bytes from a peer: as the input has them, or put into a message that tells its true length.
inline std::string PeerBytes(Input& input) {
  const bool isStamped = input.Coin();
  std::string bytes = input.Text();
  if (!isStamped) return bytes;
  char head[64];
  constexpr std::size_t kHead = sizeof "<TLK_Message Length=\"0000000\"" - 1;
  std::snprintf(head, sizeof head, "<TLK_Message Length=\"%07zu\"", kHead + bytes.size());
  return head + bytes;
}

inline std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }

/// A record as a control or its codec hands it over. The text is its first value.
struct LogRecord {
  char severity;
  ModuleHandle module;
  std::int32_t level;
  std::uint32_t message;
  std::string source;
  std::int32_t line;
  std::string text;
};

/// A log that shows its records to whoever wants to see them.
class WatchedLog final : public SilentLog {
 public:
  std::function<void(const LogRecord&)> onRecord;

  using SilentLog::LogError;
  using SilentLog::LogNormal;

  void LogNormal(ModuleHandle module, std::int32_t level, std::uint32_t message, const char* source,
                 std::int32_t line, ...) override {
    std::va_list values;
    va_start(values, line);
    onRecord({'N', module, level, message, source, line, va_arg(values, const char*)});
    va_end(values);
  }
  void LogError(ModuleHandle module, std::int32_t level, std::uint32_t message, const char* source,
                std::int32_t line, ...) override {
    std::va_list values;
    va_start(values, line);
    onRecord({'E', module, level, message, source, line, va_arg(values, const char*)});
    va_end(values);
  }
};

/// A control whose state can be seen.
class OpenControl final : public CTlkc {
 public:
  using CTlkc::CTlkc;
  using CTlkc::m_clientId;
  using CTlkc::m_expectedLength;
  using CTlkc::m_pendingOut;
  using CTlkc::m_recvText;
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
  WatchedLog log;
  Platform platform{SystemPlatform().text, strings, SystemPlatform().synchronisation, surroundings,
                    files};
  PugiDomFactory dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};
  ControlPorts ports;
};

}  // namespace tlk::fuzz
