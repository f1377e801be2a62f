#pragma once

#include <fstream>
#include <functional>
#include <string>
#include <string_view>

#include "tools/tlk/LineReader.h"

namespace tlk {

/// Runs lines of commands and prints what comes of them. A line that is wrong is refused with a
/// line that begins with "error: ". Used by one thread.
class CommandSession {
 public:
  /// Takes one line of output, without its line end.
  using Print = std::function<void(std::string_view line)>;

  explicit CommandSession(Print print);
  virtual ~CommandSession() = default;

  CommandSession(const CommandSession&) = delete;
  CommandSession& operator=(const CommandSession&) = delete;

  /// Runs one line of input.
  virtual void RunLine(std::string_view line) = 0;

  /// Whether `quit` was run.
  [[nodiscard]] bool Ended() const { return m_ended; }

  /// 0, or 1 when a line was refused.
  [[nodiscard]] int ExitStatus() const { return m_exitStatus; }

 protected:
  void PrintLine(std::string_view line) const { m_print(line); }
  void Fail(std::string_view text);
  void End() { m_ended = true; }

 private:
  const Print m_print;
  bool m_ended = false;
  int m_exitStatus = 0;
};

/// Opens a file of commands. False, with a word on standard error in the name of `program`, when it
/// cannot be read.
[[nodiscard]] bool OpenScript(const std::string& program, const std::string& path,
                              std::ifstream& script);

/// Runs the lines of a script on a session until either ends.
void RunScript(std::istream& script, CommandSession& session);

/// Runs what standard input holds, which `more` reads, on a session until either ends; prompts when
/// it is a conversation at a terminal.
void RunStandardInput(LineReader::More more, CommandSession& session);

}  // namespace tlk
