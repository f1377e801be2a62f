#pragma once

#include <winsock2.h>

#include <stdexcept>
#include <string>

#include "platform/Sockets.h"
#include "platform/windows/OwnedSocket.h"

namespace tlk {

/// The other end of connections under test: listens on a port that the system chooses, and talks to
/// one client. A call that fails throws, as does waiting for the client longer than ten seconds.
class LoopbackPeer {
 public:
  LoopbackPeer() : m_listener(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof(address);
    Check(::bind(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), size), "bind");
    Check(::listen(m_listener.Get(), 8), "listen");
    Check(::getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), &size), "name");
    m_address.port = address.sin_port;
    m_address.address = address.sin_addr.s_addr;
  }

  [[nodiscard]] const InternetAddress& Address() const { return m_address; }

  void Accept() {
    WSAPOLLFD wait{.fd = m_listener.Get(), .events = POLLRDNORM, .revents = 0};
    Check(::WSAPoll(&wait, 1, 10000) == 1 ? 0 : -1, "nobody came in time");
    m_client = OwnedSocket(::accept(m_listener.Get(), nullptr, nullptr));
    u_long nonBlocking = 1;
    Check(::ioctlsocket(m_client.Get(), static_cast<long>(FIONBIO), &nonBlocking), "accept");
  }

  void Send(const std::string& bytes) {
    const int sent = ::send(m_client.Get(), bytes.data(), static_cast<int>(bytes.size()), 0);
    Check(sent == static_cast<int>(bytes.size()) ? 0 : -1, "send");
  }

  /// What waits now, up to so many bytes.
  std::string ReadSome(std::size_t count) {
    std::string bytes(count, '\0');
    const int received = ::recv(m_client.Get(), bytes.data(), static_cast<int>(count), 0);
    bytes.resize(received > 0 ? static_cast<std::size_t>(received) : 0);
    return bytes;
  }

  void Close() { m_client.Close(); }

  void Reset() {
    const linger hard{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(m_client.Get(), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&hard),
                 sizeof(hard));
    Close();
  }

  void StopListening() { m_listener.Close(); }

 private:
  static void Check(int result, const char* what) {
    if (result < 0) throw std::runtime_error(std::string("loopback peer: ") + what);
  }

  OwnedSocket m_listener;
  OwnedSocket m_client;
  InternetAddress m_address;
};

}  // namespace tlk
