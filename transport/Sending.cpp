#include <new>
#include <utility>

#include "control/ControlBoundary.h"
#include "control/Tlkc.h"
#include "platform/AnsiText.h"
#include "transport/Framing.h"
#include "transport/MessageTypes.h"
#include "transport/TraceLog.h"
#include "xml/TLK_XMLBuilder.h"

namespace tlk {

ResultCode CTlkc::SendTLKMsg(std::u16string_view message, std::u16string_view data) {
  return AtControlBoundary(m_ports.window, [&] {
    std::string text;
    if (!BuildMessage(message, data, text)) return kResultOk;
    if (m_pendingOut.size() + text.size() > m_maxPendingOut) throw std::bad_alloc();
    m_pendingOut += text;
    m_ports.window.StopTimer(m_keepAliveTimerId);
    if (FlushPendingOutput() == 0) StartKeepAliveTimer();
    return kResultOk;
  });
}

ResultCode CTlkc::SendReceiveTlkMsg(std::u16string_view sndMsg, std::u16string_view sndData,
                                    std::u16string* recMsg, std::u16string* recData,
                                    std::int32_t timeOutMS, bool* wasAnswered) {
  if (wasAnswered != nullptr) *wasAnswered = false;
  const auto exchange = [&] {
    std::string request;
    std::string type;
    std::string data;
    if (!BuildMessage(sndMsg, sndData, request) || !Exchange(request, timeOutMS, type, data)) {
      return kResultOk;
    }
    std::u16string wideType;
    std::u16string wideData;
    m_ports.platform.text.Widen(type, wideType);
    m_ports.platform.text.Widen(data, wideData);
    *recMsg = std::move(wideType);
    *recData = std::move(wideData);
    if (wasAnswered != nullptr) *wasAnswered = true;
    if (m_ports.sockets.RequestNotifications(m_socket, m_ports.window, m_notifyMsg,
                                             socket_event::kAll) == kSocketError) {
      DropOnFailure(trace::kNotificationsOnFailed);
    }
    return kResultOk;
  };
  // The socket may be left blocking and without notifications: the connection cannot go on.
  return AtControlBoundary(m_ports.window, exchange, [this] { OnOutOfMemory(); });
}

bool CTlkc::BuildMessage(std::u16string_view message, std::u16string_view data, std::string& text) {
  TLK_XMLBuilder builder(MessageCodec());
  builder.CreateMessage(NarrowArgument(message), m_clientId, kServerId);
  builder.AppendData(NarrowArgument(data));
  return FinishMessage(builder, text);
}

// A message that does not carry its own length would break the stream, and the wait for the reply
// to one that was never sent would not end.
bool CTlkc::FinishMessage(TLK_XMLBuilder& builder, std::string& text) {
  builder.SetLength();
  builder.GetXml(text);
  if (text.size() > kMaxMessageLength) {
    LogError(trace::kMessageTooLong, static_cast<std::int64_t>(text.size()));
    return false;
  }
  if (builder.LacksMemory()) throw std::bad_alloc();
  const bool isFramed = GetMessageLength(text) == static_cast<std::int64_t>(text.size());
  if (!isFramed) LogError(trace::kMessageNotBuilt);
  return isFramed;
}

bool CTlkc::Exchange(const std::string& request, std::int32_t timeOutMS, std::string& type,
                     std::string& data) {
  auto& sockets = m_ports.sockets;
  if (sockets.RequestNotifications(m_socket, m_ports.window, 0, 0) == kSocketError) {
    return DropOnFailure(trace::kNotificationsOffFailed);
  }
  // A step that fails ends the connection but not the exchange: what follows fails in turn, on the
  // closed socket, and each failure leaves its own record and event.
  if (sockets.SetBlocking(m_socket) == kSocketError) DropOnFailure(trace::kBlockingFailed);
  if (sockets.SetSendTimeout(m_socket, timeOutMS) == kSocketError) {
    DropOnFailure(trace::kSendTimeoutFailed);
  }
  if (sockets.SetReceiveTimeout(m_socket, timeOutMS) == kSocketError) {
    DropOnFailure(trace::kReceiveTimeoutFailed);
  }
  if (sockets.Send(m_socket, request) == kSocketError) {
    return DropOnFailure(trace::kBlockingSendFailed);
  }
  if (ReadMessage(type, data) == -1) return DropOnFailure(trace::kBlockingReadFailed);
  return true;
}

}  // namespace tlk
