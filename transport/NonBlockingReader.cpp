#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

#include "control/Tlkc.h"
#include "transport/Framing.h"
#include "transport/ReceivedText.h"
#include "transport/TraceLog.h"

namespace tlk {

namespace {

// Messages up to this size are received into the stack.
constexpr std::size_t kSmallBody = 8192;

}  // namespace

Outcome CTlkc::ReadMessage() {
  if (m_recvText.empty()) return ReadPrefix();
  return m_expectedLength == -1 ? ReadRestOfPrefix() : ReadBody();
}

Outcome CTlkc::ReadPrefix() {
  std::array<char, kLengthPrefix> prefix;
  const int received = m_ports.sockets.Receive(m_socket, prefix, static_cast<int>(kLengthPrefix));
  if (received == kSocketError) {
    if (m_ports.sockets.LastError() == socket_error::kWouldBlock) return Outcome::kDone;
    return AbandonMessage(trace::kReceiveFailed);
  }
  m_recvText = ReceivedText(prefix, received);
  if (static_cast<std::size_t>(received) < kLengthPrefix) return Outcome::kDone;
  return BeginMessage(trace::kInvalidLength);
}

Outcome CTlkc::ReadRestOfPrefix() {
  std::array<char, kLengthPrefix> rest;
  const int received = m_ports.sockets.Receive(
      m_socket, rest, static_cast<int>(kLengthPrefix) - static_cast<int>(m_recvText.size()));
  if (received == kSocketError) {
    if (m_ports.sockets.LastError() == socket_error::kWouldBlock) {
      // A notification without a byte behind it, in the middle of a prefix, is taken for a broken
      // connection; between messages or in a body it is not.
      return Outcome::kFailed;
    }
    return AbandonMessage(trace::kPrefixFailed);
  }
  m_recvText += ReceivedText(rest, received);
  if (m_recvText.size() < kLengthPrefix) {
    LogNormal(trace::kWaitingForLength);
    return Outcome::kDone;
  }
  return BeginMessage(trace::kInvalidPrefixLength);
}

Outcome CTlkc::BeginMessage(const TraceRecord& invalid) {
  const auto length = GetMessageLength(m_recvText);
  if (length < 1) {
    // The socket stays open here: the notification that was answered ends the connection.
    LogError(invalid, length);
    ForgetMessage();
    return Outcome::kFailed;
  }
  m_expectedLength = length;
  return ReadBody();
}

Outcome CTlkc::ReadBody() {
  // Less than nothing is missing when the stamp is shorter than the prefix: the socket refuses
  // that. The buffer has room for all of it, but only while this call lasts: what is kept grows
  // with what has come, so that a stamp that announces much costs nothing by itself.
  const int missing = m_expectedLength - static_cast<int>(m_recvText.size());
  const auto size = static_cast<std::size_t>(std::max(missing, 0));
  std::array<char, kSmallBody> small;
  std::unique_ptr<char[]> large;
  if (size > kSmallBody) large = std::make_unique_for_overwrite<char[]>(size);
  const std::span<char> body(large ? large.get() : small.data(), size);
  const int received = m_ports.sockets.Receive(m_socket, body, missing);
  if (received == kSocketError) {
    if (m_ports.sockets.LastError() == socket_error::kWouldBlock) return Outcome::kDone;
    return AbandonMessage(trace::kBodyFailed);
  }
  m_recvText += ReceivedText(body, received);
  if (static_cast<std::int64_t>(m_recvText.size()) < m_expectedLength) return Outcome::kDone;
  HandleMessage(TakeMessage());
  return Outcome::kDone;
}

Outcome CTlkc::AbandonMessage(const TraceFailure& failure) {
  CloseThenRecord(failure, m_ports.sockets.LastError());
  ForgetMessage();
  return Outcome::kFailed;
}

std::string CTlkc::TakeMessage() {
  m_expectedLength = -1;
  return std::exchange(m_recvText, {});
}

void CTlkc::ForgetMessage() { static_cast<void>(TakeMessage()); }

}  // namespace tlk
