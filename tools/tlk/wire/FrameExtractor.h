#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "transport/Framing.h"

namespace tlk {

/// What every message begins with, up to its stamp.
inline constexpr std::string_view kMessageOpening = "<TLK_Message Length=\"";

/// How many of the first bytes are those that every message begins with.
[[nodiscard]] std::size_t MatchOpening(std::string_view bytes);

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

  /// Where in the stream the fault lies: at a byte of the stamp, or at the first byte that is not
  /// what every message begins with.
  [[nodiscard]] std::uint64_t ErrorOffset() const { return m_errorOffset; }

  /// Where in the stream the next message begins, or the faulty one.
  [[nodiscard]] std::uint64_t Offset() const { return m_offset; }

  /// The bytes that no frame has taken yet.
  [[nodiscard]] std::string_view Rest() const { return std::string_view(m_bytes).substr(m_taken); }

  /// Bytes of memory that it takes, most of them for the rest.
  [[nodiscard]] std::size_t Capacity() const { return m_bytes.capacity(); }

  /// Length of the message that the rest begins; 0 while its stamp is unknown.
  [[nodiscard]] std::size_t Length() const { return m_length; }

 private:
  bool FindLength();
  bool ReadLength(std::string_view stamp, std::size_t position);
  bool Fail(std::string error, std::size_t position);
  void Take(std::size_t count);

  std::size_t m_maxLength;
  std::string m_bytes;
  std::size_t m_taken = 0;   ///< Bytes at the front of `m_bytes` that are done with.
  std::size_t m_length = 0;  ///< Length of the message at hand; 0 while unknown.
  std::uint64_t m_offset = 0;
  std::string m_error;
  std::uint64_t m_errorOffset = 0;
};

}  // namespace tlk
