#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tlk::load {

/// Cuts a stream into messages as a control does, and keeps of each no more than its head: whatever
/// the server sends, a client holds no more than `kHead` bytes of it.
class HeadReader {
 public:
  /// Enough for the envelope, and for the mark in front of a body.
  static constexpr std::size_t kHead = 512;

  /// Takes bytes of the stream and gives the head of each message that they complete to `take`.
  /// Returns false at a stamp that no message has; nothing is to be appended then.
  template <typename Take>
  [[nodiscard]] bool Append(std::string_view bytes, const Take& take) {
    while (!bytes.empty()) {
      if (!Feed(bytes)) return false;
      if (m_length != 0 && m_taken == m_length) {
        take(std::string_view(m_head));
        m_head.clear();
        m_taken = m_length = 0;
      }
    }
    return true;
  }

 private:
  /// Takes what belongs to the message at hand from the front of `bytes`; false at a bad stamp.
  bool Feed(std::string_view& bytes);
  void Take(std::string_view& bytes, std::size_t most);

  std::string m_head;
  std::size_t m_taken = 0;   ///< Bytes of the message at hand that have come.
  std::size_t m_length = 0;  ///< Its length; 0 while the stamp is not there.
};

}  // namespace tlk::load
