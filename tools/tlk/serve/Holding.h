#pragma once

#include <cstddef>

namespace tlk::serve {

/// Bytes that somebody holds, counted into a total for as long as it lives.
class Holding {
 public:
  /// The total outlives it.
  explicit Holding(std::size_t& total, std::size_t bytes = 0) : m_total(total) { Set(bytes); }
  ~Holding() { Set(0); }

  Holding(const Holding&) = delete;
  Holding& operator=(const Holding&) = delete;

  void Set(std::size_t bytes) {
    m_total = m_total - m_bytes + bytes;
    m_bytes = bytes;
  }

 private:
  std::size_t& m_total;
  std::size_t m_bytes = 0;
};

}  // namespace tlk::serve
