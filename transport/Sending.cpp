#include <new>

#include "control/ControlBoundary.h"
#include "control/HostText.h"
#include "control/Tlkc.h"
#include "transport/Framing.h"
#include "transport/MessageTypes.h"
#include "transport/TraceLog.h"
#include "xml/TLK_XMLBuilder.h"

namespace tlk {

namespace {

constexpr ErrorFailure kSendErrors[] = {
    {socket_error::kConnectionReset, trace::kSendReset},
    {socket_error::kConnectionRefused, trace::kSendRefused},
    {socket_error::kConnectionAborted, trace::kSendAborted},
};

// What has gone out leaves room for ordinary messages, so that they cost no allocation, but one
// large message must not cost its memory for ever.
void EmptyOutput(std::string& output) {
  constexpr std::size_t kKeptRoom = 2048;
  if (output.capacity() > kKeptRoom) {
    std::string().swap(output);
  } else {
    output.clear();
  }
}

}  // namespace

ResultCode CTlkc::SendTLKMsg(std::u16string_view message, std::u16string_view data) {
  return AtControlBoundary(m_ports.window, [&] {
    std::string text;
    if (BuildMessage(message, data, text) == Outcome::kFailed) return kResultOk;
    if (m_pendingOut.size() + text.size() > m_maxPendingOut) throw std::bad_alloc();
    m_pendingOut += text;
    m_ports.window.StopTimer(m_keepAliveTimerId);
    if (FlushPendingOutput() == Outcome::kDone) StartKeepAliveTimer();
    return kResultOk;
  });
}

Outcome CTlkc::BuildMessage(std::u16string_view message, std::u16string_view data,
                            std::string& text) {
  const auto& codePage = m_ports.platform.text;
  TLK_XMLBuilder builder(MessageCodec());
  builder.CreateMessage(NarrowArgument(codePage, message), m_clientId, kServerId);
  builder.AppendData(NarrowArgument(codePage, data));
  return FinishMessage(builder, text);
}

// A message that does not carry its own length would break the stream, and the wait for the reply
// to one that was never sent would not end.
Outcome CTlkc::FinishMessage(TLK_XMLBuilder& builder, std::string& text) {
  builder.SetLength();
  builder.GetXml(text);
  if (text.size() > kMaxMessageLength) {
    LogError(trace::kMessageTooLong, static_cast<std::int64_t>(text.size()));
    return Outcome::kFailed;
  }
  if (builder.LacksMemory()) throw std::bad_alloc();
  if (GetMessageLength(text) == static_cast<std::int64_t>(text.size())) return Outcome::kDone;
  LogError(trace::kMessageNotBuilt);
  return Outcome::kFailed;
}

Outcome CTlkc::FlushPendingOutput() {
  if (m_pendingOut.empty()) return Outcome::kDone;
  const int sent = m_ports.sockets.Send(m_socket, m_pendingOut);
  if (sent == kSocketError) {
    const int error = m_ports.sockets.LastError();
    const bool canWait = error == socket_error::kWouldBlock || error == socket_error::kInProgress;
    if (canWait) return Outcome::kDone;
    DropOnError(error, kSendErrors, trace::kSendUnknown);
    return Outcome::kFailed;
  }
  const auto taken = static_cast<std::size_t>(sent);
  if (taken < m_pendingOut.size()) {
    // The last byte taken stays and goes out again with the rest; when none was taken the count
    // wraps and all of it goes. Servers have come to live with both.
    m_pendingOut.erase(0, taken - 1);
    return Outcome::kDone;
  }
  LogNormal(trace::kMessageSent, m_pendingOut);
  EmptyOutput(m_pendingOut);
  return Outcome::kDone;
}

}  // namespace tlk
