#include "control/Tlkc.h"
#include "transport/TraceLog.h"

namespace tlk {

namespace {

constexpr ErrorFailure kNotifiedErrors[] = {
    {socket_error::kConnectionReset, trace::kNotifiedReset},
    {socket_error::kConnectionRefused, trace::kNotifiedRefused},
    {socket_error::kConnectionAborted, trace::kNotifiedAborted},
};

}  // namespace

std::intptr_t CTlkc::OnSocketNotify(std::uint32_t /*message*/, std::uintptr_t wParam,
                                    std::uintptr_t lParam, bool& handled) {
  const auto held = m_ports.window.Hold();
  handled = true;
  if (m_socket != kInvalidSocket && wParam != m_socket) {
    // A late word about an earlier connection must not end this one.
    return 0;
  }
  try {
    HandleNotification(static_cast<std::uint32_t>(lParam & 0xFFFF),
                       static_cast<int>(lParam >> 16 & 0xFFFF));
  } catch (...) {
    OnOutOfMemory();
  }
  return 0;
}

void CTlkc::HandleNotification(std::uint32_t event, int error) {
  m_ports.window.StopTimer(m_connectTimerId);
  m_ports.window.StopTimer(m_keepAliveTimerId);
  if (error == socket_error::kNone) {
    OnSocketEvent(event);
  } else {
    DropOnError(error, kNotifiedErrors, trace::kNotifiedUnknown);
  }
}

void CTlkc::OnSocketEvent(std::uint32_t event) {
  switch (event) {
    case socket_event::kRead:
      if (ReadMessage() == Outcome::kDone) {
        StartKeepAliveTimer();
      } else {
        LogError(trace::kReadFailed.reason);
        DropConnection(trace::kReadFailed.droppedLine);
      }
      break;
    case socket_event::kWrite:
      if (FlushPendingOutput() == Outcome::kDone) StartKeepAliveTimer();
      break;
    case socket_event::kConnect:
      LogNormal(trace::kConnectSucceeded);
      m_status = TLK_Connected;
      StartKeepAliveTimer();
      AnnounceStatus(trace::kConnectSucceededLine);
      break;
    case socket_event::kClose:
      LogNormal(trace::kClosed);
      DropConnection(trace::kClosedLine);
      break;
    default:
      // The text is not a format here: readers of old logs know it with its "%d".
      LogNormal(trace::kUnknownEvent, static_cast<std::int32_t>(event));
      break;
  }
}

}  // namespace tlk
