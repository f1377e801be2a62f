#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace tlk {

/// The text among the first `received` bytes of a buffer. Received text is kept as zero-terminated
/// text: what follows a zero byte in the same read is lost.
[[nodiscard]] inline std::string_view ReceivedText(std::span<const char> buffer, int received) {
  const std::string_view bytes(buffer.data(), static_cast<std::size_t>(received));
  return bytes.substr(0, bytes.find('\0'));
}

/// Empties a buffer of a connection. It keeps room for ordinary messages, so that they cost no
/// allocation, but one large message must not cost its memory for ever.
inline void EmptyBuffer(std::string& buffer) {
  constexpr std::size_t kKeptRoom = 2048;
  if (buffer.capacity() > kKeptRoom) {
    std::string().swap(buffer);
  } else {
    buffer.clear();
  }
}

}  // namespace tlk
