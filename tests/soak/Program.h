#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace tlk::conversations {

/// A shell command whose standard output is read through a pipe.
class Program {
 public:
  explicit Program(const std::string& command) : m_pipe(popen(command.c_str(), "re")) {
    if (m_pipe == nullptr) throw std::runtime_error("cannot start " + command);
  }
  ~Program() { End(); }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// Reads on up to the end of a line, or of the output.
  void ReadLine() {
    for (int byte = 0; byte != '\n' && (byte = std::fgetc(m_pipe)) != EOF;) {
      m_output += static_cast<char>(byte);
    }
  }

  /// Reads the rest of the output and returns the exit status, -1 when a signal ended it.
  int End() {
    if (m_pipe == nullptr) return m_status;
    while (std::feof(m_pipe) == 0 && std::ferror(m_pipe) == 0) ReadLine();
    const int status = pclose(m_pipe);
    m_pipe = nullptr;
    return m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  [[nodiscard]] const std::string& Output() const { return m_output; }

 private:
  std::FILE* m_pipe;
  std::string m_output;
  int m_status = -1;
};

}  // namespace tlk::conversations
