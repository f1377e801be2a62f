#include "control/Tlkc.h"

#include <array>

#include "log/iLogger.h"
#include "platform/Surroundings.h"

namespace tlk {

namespace {

constexpr const char* kNotifyMessageName = "Tlkc:wsnotify";
constexpr const char* kModuleName = "Tlkc2";

// Room for the path of the temporary folder and its zero byte.
constexpr std::size_t kFolderRoom = 10000;

}  // namespace

CTlkc::CTlkc(const ControlPorts& ports, ITlkcEvents& events)
    : m_ports(ports),
      m_events(events),
      m_notifyMsg(ports.window.RegisterMessage(kNotifyMessageName)),
      m_module(ports.platform.strings.FindModule(kModuleName)) {
  SetLogFolder();
  m_ports.window.SetTarget(this);
}

CTlkc::~CTlkc() {
  m_ports.window.SetTarget(nullptr);
  m_ports.window.StopTimer(m_connectTimerId);
  m_ports.window.StopTimer(m_keepAliveTimerId);
  if (m_socket != kInvalidSocket) CloseSocket();
}

ResultCode CTlkc::ConnectionStatus(TLK_ConnStatusEnum* pVal) const {
  *pVal = m_status;
  return kResultOk;
}

void CTlkc::SetLogFolder() {
  std::array<char, kFolderRoom> folder{};
  auto& surroundings = m_ports.platform.surroundings;
  auto length = surroundings.TemporaryFolder(folder);
  const bool fits = length < folder.size();
  if (!fits) {
    // Asked once more with the same room. A path that is too long again leaves the log where it is;
    // when there is no folder any more, the fallback takes its place.
    length = surroundings.TemporaryFolder(folder);
  }
  if (length == 0) {
    m_ports.log.SetDirectory(surroundings.FallbackFolder());
  } else if (fits) {
    m_ports.log.SetDirectory(folder.data());
  }
}

}  // namespace tlk
