// Included by each system's LoopbackPeer.h, behind that system's calls.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>

#include "platform/Sockets.h"

namespace tlk {

/// The other end of connections under test: listens on a port that the system chooses, and talks to
/// one client. A call that fails throws, as does waiting for the client longer than ten seconds.
class LoopbackPeer {
 public:
  LoopbackPeer() : m_listener(::socket(AF_INET, SOCK_STREAM, 0)) {
    m_address.address = htonl(INADDR_LOOPBACK);
    auto* const name = reinterpret_cast<sockaddr*>(&m_address);
    socklen_t size = sizeof(m_address);
    Check(::bind(m_listener.Get(), name, size) == 0, "bind");
    Check(::listen(m_listener.Get(), 8) == 0, "listen");
    Check(::getsockname(m_listener.Get(), name, &size) == 0, "name");
  }

  [[nodiscard]] const InternetAddress& Address() const { return m_address; }

  void Accept() {
    Check(IsReadable(m_listener, 10000), "nobody came in time");
    m_client = PeerSocket(::accept(m_listener.Get(), nullptr, nullptr));
  }

  void Send(const std::string& bytes) {
    const auto size = static_cast<PeerSize>(bytes.size());
    const auto sent = ::send(m_client.Get(), bytes.data(), size, kNoSignal);
    Check(sent > 0 && static_cast<PeerSize>(sent) == size, "send");
  }

  /// What waits now, up to so many bytes.
  std::string ReadSome(std::size_t count) {
    if (!IsReadable(m_client, 0)) return "";
    std::string bytes(count, '\0');
    const auto size = ::recv(m_client.Get(), bytes.data(), static_cast<PeerSize>(count), 0);
    return bytes.substr(0, size > 0 ? static_cast<std::size_t>(size) : 0);
  }

  void EndSending() { ::shutdown(m_client.Get(), 1); }

  void Close() { m_client = {}; }

  void Reset() {
    const linger hard{.l_onoff = 1, .l_linger = 0};
    const auto* const option = reinterpret_cast<const char*>(&hard);
    ::setsockopt(m_client.Get(), SOL_SOCKET, SO_LINGER, option, sizeof(hard));
    Close();
  }

  void StopListening() { m_listener = {}; }

 private:
  static void Check(bool isDone, const char* what) {
    if (!isDone) throw std::runtime_error(std::string("loopback peer: ") + what);
  }

  static bool IsReadable(const PeerSocket& socket, int milliseconds) {
    pollfd wait{.fd = socket.Get(), .events = POLLRDNORM, .revents = 0};
    return poll(&wait, 1, milliseconds) == 1;
  }

  PeerSocket m_listener;
  PeerSocket m_client;
  InternetAddress m_address;
};

}  // namespace tlk
