#pragma once

#include <windows.h>

#include <memory>
#include <string>

namespace tlk::host {

/// Reads standard input on a thread of its own, because the system cannot wait for a pipe and for
/// messages at once. It reads one piece ahead. The thread may stay in its read when the reader
/// ends, and ends with the program then: it holds all that it uses itself.
class InputReader {
 public:
  InputReader();
  ~InputReader();

  InputReader(const InputReader&) = delete;
  InputReader& operator=(const InputReader&) = delete;

  /// What a wait is for: set while a piece is there, or the end.
  [[nodiscard]] HANDLE Ready() const;

  /// Appends the next piece to `bytes`, waiting for it; false at the end.
  bool Read(std::string& bytes);

 private:
  class Exchange;
  const std::shared_ptr<Exchange> m_exchange;
};

}  // namespace tlk::host
