#pragma once

#include <winsock2.h>

#include <utility>

namespace tlk {

/// A socket that is closed with its owner.
class OwnedSocket {
 public:
  OwnedSocket() = default;
  explicit OwnedSocket(SOCKET socket) : m_socket(socket) {}
  ~OwnedSocket() { Close(); }

  OwnedSocket(OwnedSocket&& other) noexcept
      : m_socket(std::exchange(other.m_socket, INVALID_SOCKET)) {}
  OwnedSocket& operator=(OwnedSocket&& other) noexcept {
    std::swap(m_socket, other.m_socket);
    return *this;
  }

  [[nodiscard]] SOCKET Get() const { return m_socket; }

  /// What `closesocket` gives, or 0 when there is none to close.
  int Close() {
    const SOCKET socket = std::exchange(m_socket, INVALID_SOCKET);
    return socket == INVALID_SOCKET ? 0 : ::closesocket(socket);
  }

 private:
  SOCKET m_socket = INVALID_SOCKET;
};

}  // namespace tlk
