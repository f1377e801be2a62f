#pragma once

#include <memory>
#include <string>

namespace tlk {

/// Takes what the libraries beneath print on standard output, instead of where it went, for as long
/// as this lives.
class LibraryOutput {
 public:
  LibraryOutput();
  ~LibraryOutput();

  LibraryOutput(const LibraryOutput&) = delete;
  LibraryOutput& operator=(const LibraryOutput&) = delete;

  /// Lets standard output lead where standard error does again. The end follows what was printed.
  void End();

  /// Waits until there is something to take, or the end. Safe beside `Take`.
  void Wait() const;

  /// Appends what was printed, without waiting; false at the end. One thread at a time.
  bool Take(std::string& bytes);

 private:
  struct Pipe;
  const std::unique_ptr<Pipe> m_pipe;
};

}  // namespace tlk
