#include "control/Tlkc.h"
#include "transport/MessageTypes.h"
#include "xml/TLK_XMLBuilder.h"

namespace tlk {

void CTlkc::OnTimer(std::uintptr_t timerId) {
  const auto held = m_ports.window.Hold();
  if (timerId == m_connectTimerId) {
    // A connection attempt that is still pending ends by itself, or with Disconnect.
    m_ports.window.StopTimer(m_connectTimerId);
  } else if (timerId == m_keepAliveTimerId) {
    m_ports.window.StopTimer(m_keepAliveTimerId);
    try {
      SendKeepAlive();
    } catch (...) {
      OnOutOfMemory();
    }
  }
}

void CTlkc::SendKeepAlive() {
  std::string text;
  TLK_XMLBuilder builder(MessageCodec());
  builder.CreateMessage(kKeepAlive, m_clientId, kServerId);
  if (FinishMessage(builder, text) == Outcome::kDone) m_pendingOut += text;
  if (FlushPendingOutput() == Outcome::kDone) StartKeepAliveTimer();
}

}  // namespace tlk
