#include <utility>

#include "control/ControlBoundary.h"
#include "control/HostText.h"
#include "control/Tlkc.h"
#include "transport/TraceLog.h"

namespace tlk {

ResultCode CTlkc::SendReceiveTlkMsg(std::u16string_view sndMsg, std::u16string_view sndData,
                                    std::u16string* recMsg, std::u16string* recData,
                                    std::int32_t timeOutMS, bool* wasAnswered) {
  if (wasAnswered != nullptr) *wasAnswered = false;
  const auto exchange = [&] {
    std::string request;
    std::string type;
    std::string data;
    if (BuildMessage(sndMsg, sndData, request) == Outcome::kFailed) return kResultOk;
    if (Exchange(request, timeOutMS, type, data) == Outcome::kFailed) return kResultOk;
    auto wideType = WideResult(m_ports.platform.text, type);
    auto wideData = WideResult(m_ports.platform.text, data);
    *recMsg = std::move(wideType);
    *recData = std::move(wideData);
    if (wasAnswered != nullptr) *wasAnswered = true;
    if (m_ports.sockets.RequestNotifications(m_socket, m_ports.window, m_notifyMsg,
                                             socket_event::kAll) == kSocketError) {
      RecordThenDrop(trace::kNotificationsOnFailed);
    }
    return kResultOk;
  };
  // The socket may be left blocking and without notifications: the connection cannot go on.
  return AtControlBoundary(m_ports.window, exchange, [this] { OnOutOfMemory(); });
}

Outcome CTlkc::Exchange(const std::string& request, std::int32_t timeOutMS, std::string& type,
                        std::string& data) {
  auto& sockets = m_ports.sockets;
  if (sockets.RequestNotifications(m_socket, m_ports.window, 0, 0) == kSocketError) {
    RecordThenDrop(trace::kNotificationsOffFailed);
    return Outcome::kFailed;
  }
  // A step that fails ends the connection but not the exchange: what follows fails in turn, on the
  // closed socket, and each failure leaves its own record and event.
  if (sockets.SetBlocking(m_socket) == kSocketError) RecordThenDrop(trace::kBlockingFailed);
  if (sockets.SetSendTimeout(m_socket, timeOutMS) == kSocketError) {
    RecordThenDrop(trace::kSendTimeoutFailed);
  }
  if (sockets.SetReceiveTimeout(m_socket, timeOutMS) == kSocketError) {
    RecordThenDrop(trace::kReceiveTimeoutFailed);
  }
  if (sockets.Send(m_socket, request) == kSocketError) {
    RecordThenDrop(trace::kBlockingSendFailed);
    return Outcome::kFailed;
  }
  if (ReadMessageBlocking(type, data) == Outcome::kFailed) {
    RecordThenDrop(trace::kBlockingReadFailed);
    return Outcome::kFailed;
  }
  return Outcome::kDone;
}

}  // namespace tlk
