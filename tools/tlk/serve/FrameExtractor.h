#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "transport/Framing.h"

namespace tlk::serve {

/// Cuts a stream into messages by their length stamps: bytes go in, frames come out.
///
/// It is stricter than a control, which reads whatever a C program would read as a number: a stamp
/// here is seven decimal digits. The first fault sticks, because what follows it can no longer be
/// told apart.
class FrameExtractor {
 public:
  /// Refuses messages of more than `maxLength` bytes as soon as their stamp is there.
  explicit FrameExtractor(std::size_t maxLength = kMaxMessageLength) : m_maxLength(maxLength) {}

  /// Adds bytes of the stream; drops them after a fault.
  void Append(std::string_view bytes);

  /// The next whole message; none when more bytes are needed, or after a fault.
  [[nodiscard]] std::optional<std::string> Next();

  /// What is wrong with the stream; empty while nothing is.
  [[nodiscard]] const std::string& Error() const { return m_error; }

  /// The bytes that no frame has taken yet.
  [[nodiscard]] std::size_t Waiting() const { return m_bytes.size() - m_taken; }

 private:
  bool FindLength();
  void Fail(std::string error);
  void Take(std::size_t count);

  std::size_t m_maxLength;
  std::string m_bytes;
  std::size_t m_taken = 0;   ///< Bytes at the front of `m_bytes` that are done with.
  std::size_t m_length = 0;  ///< Length of the message at hand; 0 while unknown.
  std::string m_error;
};

}  // namespace tlk::serve
