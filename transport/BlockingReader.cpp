#include <array>
#include <cstring>
#include <memory>

#include "control/Tlkc.h"
#include "transport/Framing.h"
#include "transport/MessageBuffer.h"
#include "transport/TraceLog.h"

namespace tlk {

int CTlkc::ReadMessage(std::string& type, std::string& data) {
  std::array<char, kLengthPrefix + 1> prefix{};
  if (!ReadBlockingPrefix(prefix)) {
    FailRead(trace::kBlockingPrefixFailed);
    return -1;
  }
  const auto length = GetMessageLength(prefix.data());
  if (length < 1) {
    LogError(trace::kBlockingInvalidLength, length);
    return -1;
  }
  m_recvText = prefix.data();
  m_expectedLength = length;
  if (!ReadBlockingBody()) {
    FailRead(trace::kBlockingBodyFailed);
    return AbandonMessage();
  }
  HandleMessage(type, data);
  ForgetMessage();
  return 0;
}

// Each read goes behind the text that is there, over whatever an earlier one has left behind a zero
// byte.
bool CTlkc::ReadBlockingPrefix(std::span<char> prefix) {
  for (auto held = std::strlen(prefix.data()); held < kLengthPrefix;
       held = std::strlen(prefix.data())) {
    const auto rest = kLengthPrefix - held;
    if (m_ports.sockets.Receive(m_socket, prefix.subspan(held, rest), static_cast<int>(rest)) ==
        kSocketError) {
      return false;
    }
  }
  return true;
}

bool CTlkc::ReadBlockingBody() {
  const auto expected = static_cast<std::size_t>(m_expectedLength);
  if (m_recvText.size() >= expected) return true;
  const auto size = expected - m_recvText.size();
  const auto buffer = std::make_unique_for_overwrite<char[]>(size);
  while (m_recvText.size() < expected) {
    const std::span<char> rest(buffer.get(), expected - m_recvText.size());
    const int received = m_ports.sockets.Receive(m_socket, rest, static_cast<int>(rest.size()));
    if (received == kSocketError) return false;
    m_recvText += ReceivedText(rest, received);
  }
  return true;
}

}  // namespace tlk
