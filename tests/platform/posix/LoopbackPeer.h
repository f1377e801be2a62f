#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <stdexcept>
#include <string>

#include "platform/Sockets.h"
#include "platform/posix/OwnedDescriptor.h"

namespace tlk {

/// The other end of connections under test: listens on a port that the system chooses, and talks to
/// one client. A call that fails throws, as does waiting for the client longer than ten seconds.
class LoopbackPeer {
 public:
  LoopbackPeer() : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    Check(::bind(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), size), "bind");
    Check(::listen(m_listener.Get(), 8), "listen");
    Check(::getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), &size), "name");
    m_address.port = address.sin_port;
    m_address.address = address.sin_addr.s_addr;
  }

  [[nodiscard]] const InternetAddress& Address() const { return m_address; }

  void Accept() {
    pollfd wait{.fd = m_listener.Get(), .events = POLLIN, .revents = 0};
    Check(::poll(&wait, 1, 10000) == 1 ? 0 : -1, "nobody came in time");
    m_client = OwnedDescriptor(::accept(m_listener.Get(), nullptr, nullptr));
    Check(m_client.Get(), "accept");
  }

  void Send(const std::string& bytes) {
    const auto sent = ::send(m_client.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    Check(sent == static_cast<ssize_t>(bytes.size()) ? 0 : -1, "send");
  }

  /// What waits now, up to so many bytes.
  std::string ReadSome(std::size_t count) {
    std::string bytes(count, '\0');
    const auto received = ::recv(m_client.Get(), bytes.data(), count, MSG_DONTWAIT);
    bytes.resize(received > 0 ? static_cast<std::size_t>(received) : 0);
    return bytes;
  }

  void Close() { m_client = OwnedDescriptor(); }

  void Reset() {
    const linger hard{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(m_client.Get(), SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
    Close();
  }

  void StopListening() { m_listener = OwnedDescriptor(); }

 private:
  static void Check(int result, const char* what) {
    if (result < 0) throw std::runtime_error(std::string("loopback peer: ") + what);
  }

  OwnedDescriptor m_listener;
  OwnedDescriptor m_client;
  InternetAddress m_address;
};

}  // namespace tlk
