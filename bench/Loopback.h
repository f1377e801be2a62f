#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk::bench {

/// Throws when a call on the way to a measurement has failed.
inline void Check(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

/// A server's end, on a port that the system chooses.
class Listener {
 public:
  Listener() : m_descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    Check(::bind(m_descriptor.Get(), generic, size) == 0, "bind");
    Check(::listen(m_descriptor.Get(), SOMAXCONN) == 0, "listen");
    Check(::getsockname(m_descriptor.Get(), generic, &size) == 0, "getsockname");
    m_port = ntohs(address.sin_port);
  }

  [[nodiscard]] std::uint16_t Port() const { return m_port; }

  [[nodiscard]] OwnedDescriptor Accept() const {
    OwnedDescriptor accepted(::accept(m_descriptor.Get(), nullptr, nullptr));
    Check(accepted.IsOpen(), "accept");
    return accepted;
  }

 private:
  OwnedDescriptor m_descriptor;
  std::uint16_t m_port = 0;
};

/// A client's end without a control behind it.
[[nodiscard]] inline OwnedDescriptor ConnectTo(std::uint16_t port) {
  OwnedDescriptor descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  Check(
      ::connect(descriptor.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
      "connect");
  return descriptor;
}

/// Sends all of it; false when the other end is gone.
inline bool SendAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto sent = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

}  // namespace tlk::bench
