#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

/// What a fuzzer calls with each input. Whatever it finds wrong ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace tlk::fuzz {

/// Ends the process with a report when something does not hold.
void Check(bool holds, const char* what);

/// Takes an input apart: choices from its front, text from what is left. An input that has come to
/// its end gives zeros and empty texts.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : m_left(reinterpret_cast<const char*>(data), size) {}

  [[nodiscard]] bool AtEnd() const { return m_left.empty(); }

  [[nodiscard]] std::uint8_t Byte();
  /// One of `count` choices, from 0.
  [[nodiscard]] unsigned Choice(unsigned count) { return Byte() % count; }
  /// A text of up to 65,535 bytes, behind two bytes that tell how many.
  [[nodiscard]] std::string Text();
  /// All that is left.
  [[nodiscard]] std::string Rest() { return std::string(std::exchange(m_left, {})); }

 private:
  std::string_view m_left;
};

/// Bytes from a peer: as the input has them, or put into a message that tells its true length.
[[nodiscard]] std::string PeerBytes(Input& input);

}  // namespace tlk::fuzz
