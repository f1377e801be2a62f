#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

namespace tlk {

/// Bytes of a stream that the system has handed over before anybody asked for them.
class ReadAhead {
 public:
  static constexpr std::size_t kRoom = 16384;

  [[nodiscard]] bool IsEmpty() const { return m_begin == m_end; }

  /// Where to put bytes while there are none; `Fill` then tells how many they are.
  [[nodiscard]] std::span<char> Room() { return m_bytes; }
  void Fill(std::size_t count) {
    m_begin = 0;
    m_end = count;
  }

  /// Moves the first bytes to `out`; returns how many.
  std::size_t Take(std::span<char> out) {
    const std::size_t count = std::min(out.size(), m_end - m_begin);
    std::copy_n(m_bytes.data() + m_begin, count, out.data());
    m_begin += count;
    return count;
  }

 private:
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
  std::array<char, kRoom> m_bytes;
};

}  // namespace tlk
