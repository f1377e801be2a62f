#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace tlk::conversations {

/// A child process whose standard output is read through a pipe. One that still runs when its
/// object ends is killed, and its own children with it.
class Process {
 public:
  /// What to start, and how.
  struct Start {
    std::vector<std::string> words;  ///< The program, looked up in PATH, and its arguments.
    std::vector<std::string>
        environment;        ///< NAME=VALUE, instead of what is inherited by that name.
    std::string errorFile;  ///< Where its standard error goes.
  };

  /// Throws `std::system_error` when it cannot be started.
  explicit Process(const Start& start);
  ~Process();

  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Readable when there is output; -1 behind its end.
  [[nodiscard]] int OutputDescriptor() const { return m_output; }
  /// Takes what output there is; blocks when there is none.
  void ReadOutput();
  [[nodiscard]] const std::string& Output() const { return m_text; }

  /// Its exit status, or -1 when a signal ended it; none while it runs.
  [[nodiscard]] std::optional<int> ExitStatus();

  void Kill();

 private:
  pid_t m_id = -1;
  int m_output = -1;
  std::string m_text;
  std::optional<int> m_status;
};

}  // namespace tlk::conversations
