#pragma once

#include <unistd.h>

#include <utility>

namespace tlk {

/// A file descriptor that is closed with its owner; -1 for none.
class OwnedDescriptor {
 public:
  OwnedDescriptor() = default;
  explicit OwnedDescriptor(int descriptor) : m_descriptor(descriptor) {}
  OwnedDescriptor(OwnedDescriptor&& other) noexcept
      : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
  OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept {
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
  }
  ~OwnedDescriptor() {
    if (m_descriptor >= 0) ::close(m_descriptor);
  }

  [[nodiscard]] int Get() const { return m_descriptor; }
  [[nodiscard]] bool IsOpen() const { return m_descriptor >= 0; }

 private:
  int m_descriptor = -1;
};

}  // namespace tlk
