#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/CommandForm.h"
#include "tools/tlk/LineReader.h"

namespace tlk {

/// Runs lines of commands and prints what comes of them. A line that is wrong is refused with a
/// line that begins with "error: ". Used by one thread.
class CommandSession {
 public:
  /// Takes one line of output, without its line end.
  using Print = std::function<void(std::string_view line)>;

  /// `forms` are those of all its commands.
  CommandSession(Print print, std::vector<CommandForm> forms);
  virtual ~CommandSession() = default;

  CommandSession(const CommandSession&) = delete;
  CommandSession& operator=(const CommandSession&) = delete;

  /// Runs the next line of input, narrow ANSI text.
  void Run(std::string_view line);

  /// The same with a line that was typed; refuses one that the system's code page cannot hold.
  void RunTyped(std::u16string_view line);

  /// Refuses the input as a whole.
  void Refuse(std::string_view why);

  [[nodiscard]] const std::vector<CommandForm>& Forms() const { return m_forms; }

  /// Whether it has ended before its input, as by `quit`.
  [[nodiscard]] bool Ended() const { return m_ended; }

  /// 0, or 1 when a line was refused; or what it ended with.
  [[nodiscard]] int ExitStatus() const { return m_exitStatus; }

 protected:
  virtual void RunLine(std::string_view line) = 0;

  void PrintLine(std::string_view line) const { m_print(line); }
  void Fail(std::string_view text);
  void End() { m_ended = true; }
  void EndWith(int exitStatus);

  /// Prints how the commands are used, or the one that is named.
  void Help(const Arguments& arguments);

  /// The number of the line that runs, from 1; 0 before the first.
  [[nodiscard]] std::uint64_t LineNumber() const { return m_lineNumber; }

 private:
  const Print m_print;
  const std::vector<CommandForm> m_forms;
  std::uint64_t m_lineNumber = 0;
  bool m_ended = false;
  int m_exitStatus = 0;
};

/// Opens a file of commands. False, with a word on standard error in the name of `program`, when it
/// cannot be read.
[[nodiscard]] bool OpenScript(const std::string& program, const std::string& path,
                              std::ifstream& script);

/// Runs the lines of a script on a session until either ends.
void RunScript(std::istream& script, CommandSession& session);

/// Runs what standard input holds, which `more` reads, on a session until either ends.
void RunStandardInput(LineReader::More more, CommandSession& session);

/// Whether somebody types at a terminal and sees there what comes of it.
[[nodiscard]] bool IsConversation();

}  // namespace tlk
