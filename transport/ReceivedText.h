#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace tlk {

/// The text among the first `received` bytes of a buffer. Received text is kept as zero-terminated
/// text: what follows a zero byte in the same read is lost.
[[nodiscard]] inline std::string_view ReceivedText(std::span<const char> buffer, int received) {
  const std::string_view bytes(buffer.data(), static_cast<std::size_t>(received));
  return bytes.substr(0, bytes.find('\0'));
}

}  // namespace tlk
