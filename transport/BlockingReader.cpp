#include <array>
#include <cstring>
#include <memory>

#include "control/Tlkc.h"
#include "transport/Framing.h"
#include "transport/ReceivedText.h"
#include "transport/TraceLog.h"

namespace tlk {

Outcome CTlkc::ReadMessageBlocking(std::string& type, std::string& data) {
  std::array<char, kLengthPrefix + 1> prefix{};
  if (ReadBlockingPrefix(prefix) == Outcome::kFailed) {
    CloseThenRecord(trace::kBlockingPrefixFailed, m_ports.sockets.LastError());
    return Outcome::kFailed;
  }
  const auto length = GetMessageLength(prefix.data());
  if (length < 1) {
    LogError(trace::kBlockingInvalidLength, length);
    return Outcome::kFailed;
  }
  m_recvText = prefix.data();
  m_expectedLength = length;
  if (ReadBlockingBody() == Outcome::kFailed) return AbandonMessage(trace::kBlockingBodyFailed);
  // A reply that does not parse is an empty one.
  static_cast<void>(ParseMessage(TakeMessage(), type, data));
  return Outcome::kDone;
}

// Each read goes behind the text that is there, over whatever an earlier one has left behind a zero
// byte.
Outcome CTlkc::ReadBlockingPrefix(std::span<char> prefix) {
  for (auto held = std::strlen(prefix.data()); held < kLengthPrefix;
       held = std::strlen(prefix.data())) {
    const auto rest = kLengthPrefix - held;
    if (m_ports.sockets.Receive(m_socket, prefix.subspan(held, rest), static_cast<int>(rest)) ==
        kSocketError) {
      return Outcome::kFailed;
    }
  }
  return Outcome::kDone;
}

Outcome CTlkc::ReadBlockingBody() {
  const auto expected = static_cast<std::size_t>(m_expectedLength);
  if (m_recvText.size() >= expected) return Outcome::kDone;
  const auto size = expected - m_recvText.size();
  const auto buffer = std::make_unique_for_overwrite<char[]>(size);
  while (m_recvText.size() < expected) {
    const std::span<char> rest(buffer.get(), expected - m_recvText.size());
    const int received = m_ports.sockets.Receive(m_socket, rest, static_cast<int>(rest.size()));
    if (received == kSocketError) return Outcome::kFailed;
    m_recvText += ReceivedText(rest, received);
  }
  return Outcome::kDone;
}

}  // namespace tlk
