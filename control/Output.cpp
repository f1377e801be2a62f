#include "control/Tlkc.h"
#include "transport/MessageBuffer.h"
#include "transport/TraceLog.h"

namespace tlk {

namespace {

constexpr ErrorFailure kSendErrors[] = {
    {socket_error::kConnectionReset, trace::kSendReset},
    {socket_error::kConnectionRefused, trace::kSendRefused},
    {socket_error::kConnectionAborted, trace::kSendAborted},
};

}  // namespace

int CTlkc::FlushPendingOutput() {
  if (m_pendingOut.empty()) return 0;
  const int sent = m_ports.sockets.Send(m_socket, m_pendingOut);
  if (sent == kSocketError) {
    const int error = m_ports.sockets.LastError();
    if (error == socket_error::kWouldBlock || error == socket_error::kInProgress) return 0;
    DropOnError(error, kSendErrors, trace::kSendUnknown);
    return -1;
  }
  const auto taken = static_cast<std::size_t>(sent);
  if (taken < m_pendingOut.size()) {
    // The last byte taken stays and goes out again with the rest; when none was taken the count
    // wraps and all of it goes. Servers have come to live with both.
    m_pendingOut.erase(0, taken - 1);
    return 0;
  }
  LogNormal(trace::kMessageSent, m_pendingOut);
  EmptyBuffer(m_pendingOut);
  return 0;
}

}  // namespace tlk
