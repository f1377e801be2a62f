#pragma once

#include <atomic>

namespace tlk::test {

/// Counts the calls of a port, on any thread, and tells one of them to fail.
class NthCall {
 public:
  /// The `nth` call from now, counted from 1, is to fail; 0 for none.
  void Fail(int nth) {
    m_failing = 0;
    m_calls = 0;
    m_failing = nth;
  }

  /// Asked in each call: whether it is the one.
  [[nodiscard]] bool IsThis() { return ++m_calls == m_failing; }

  [[nodiscard]] bool HasCome() const { return m_failing > 0 && m_calls >= m_failing; }

 private:
  std::atomic<int> m_calls{0};
  std::atomic<int> m_failing{0};
};

}  // namespace tlk::test
