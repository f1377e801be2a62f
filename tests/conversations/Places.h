#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tlk::conversations {

/// A folder that goes with its object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    auto name = (std::filesystem::temp_directory_path() / "conversation-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("cannot make a temporary folder");
    }
    m_path = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] std::string File(const char* name) const { return m_path / name; }
  [[nodiscard]] std::string Path() const { return m_path; }

 private:
  std::filesystem::path m_path;
};

/// A port on which nobody listens, and on which nobody can while this object stands.
class ClosedPort {
 public:
  ClosedPort() : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_socket, generic, size) != 0 || getsockname(m_socket, generic, &size) != 0) {
      throw std::runtime_error("cannot find a closed port");
    }
    m_port = ntohs(address.sin_port);
  }
  ~ClosedPort() { close(m_socket); }
  ClosedPort(const ClosedPort&) = delete;
  ClosedPort& operator=(const ClosedPort&) = delete;

  [[nodiscard]] std::string Text() const { return std::to_string(m_port); }

 private:
  int m_socket;
  int m_port = 0;
};

}  // namespace tlk::conversations
