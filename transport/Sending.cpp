#include "control/Boundary.h"
#include "control/Tlkc.h"
#include "platform/AnsiText.h"
#include "transport/Framing.h"
#include "transport/MessageTypes.h"
#include "transport/TraceLog.h"
#include "xml/TLK_XMLBuilder.h"

namespace tlk {

ResultCode CTlkc::SendTLKMsg(std::u16string_view message, std::u16string_view data) {
  return AtBoundary([&] {
    std::string text;
    if (!BuildMessage(message, data, text)) {
      return kResultOk;
    }
    m_ports.window.StopTimer(m_keepAliveTimerId);
    m_pendingOut += text;
    if (FlushPendingOutput() == 0) {
      StartKeepAliveTimer();
    }
    return kResultOk;
  });
}

ResultCode CTlkc::SendReceiveTlkMsg(std::u16string_view sndMsg, std::u16string_view sndData,
                                    std::u16string* recMsg, std::u16string* recData,
                                    std::int32_t timeOutMS) {
  const auto exchange = [&] {
    std::string request;
    std::string type;
    std::string data;
    if (!BuildMessage(sndMsg, sndData, request) || !Exchange(request, timeOutMS, type, data)) {
      return kResultOk;
    }
    m_ports.platform.text.Widen(type, *recMsg);
    m_ports.platform.text.Widen(data, *recData);
    if (m_ports.sockets.RequestNotifications(m_socket, m_ports.window, m_notifyMsg,
                                             socket_event::kAll) == kSocketError) {
      DropOnFailure(trace::kNotificationsOnFailed);
    }
    return kResultOk;
  };
  // The socket may be left blocking and without notifications: the connection cannot go on.
  return AtBoundary(exchange, [this] { OnOutOfMemory(); });
}

bool CTlkc::BuildMessage(std::u16string_view message, std::u16string_view data, std::string& text) {
  TLK_XMLBuilder builder(MessageCodec());
  builder.CreateMessage(NarrowArgument(message), m_clientId, kServerId);
  builder.AppendData(NarrowArgument(data));
  builder.SetLength();
  builder.GetXml(text);
  if (text.size() > kMaxMessageLength) {
    LogError(trace::kMessageTooLong, static_cast<std::int64_t>(text.size()));
    return false;
  }
  return true;
}

bool CTlkc::Exchange(const std::string& request, std::int32_t timeOutMS, std::string& type,
                     std::string& data) {
  auto& sockets = m_ports.sockets;
  if (sockets.RequestNotifications(m_socket, m_ports.window, 0, 0) == kSocketError) {
    return DropOnFailure(trace::kNotificationsOffFailed);
  }
  // A step that fails ends the connection but not the exchange: what follows fails in turn, on the
  // closed socket, and each failure leaves its own record and event.
  if (sockets.SetBlocking(m_socket) == kSocketError) {
    DropOnFailure(trace::kBlockingFailed);
  }
  if (sockets.SetSendTimeout(m_socket, timeOutMS) == kSocketError) {
    DropOnFailure(trace::kSendTimeoutFailed);
  }
  if (sockets.SetReceiveTimeout(m_socket, timeOutMS) == kSocketError) {
    DropOnFailure(trace::kReceiveTimeoutFailed);
  }
  if (sockets.Send(m_socket, request) == kSocketError) {
    return DropOnFailure(trace::kBlockingSendFailed);
  }
  if (ReadMessage(type, data) == -1) {
    return DropOnFailure(trace::kBlockingReadFailed);
  }
  return true;
}

}  // namespace tlk
