#pragma once

#include <string_view>

namespace tlk {

/// The standard output that belongs to the tool itself.
///
/// The libraries beneath print there too: the trace log echoes its lines and the codec reports its
/// failures. Whoever reads the tool's output wants none of it, so the tool takes standard output
/// for itself and sends everybody else's to standard error.
///
/// Lines and texts are UTF-8. A terminal shows them in its own encoding; a pipe or a file gets them
/// as they are.
class OwnOutput {
 public:
  /// The one of the process. The first call takes standard output over, so it comes before anything
  /// prints.
  static OwnOutput& Get();

  OwnOutput(const OwnOutput&) = delete;
  OwnOutput& operator=(const OwnOutput&) = delete;

  /// Writes a line, adding its end, and returns when the system has it. One thread at a time. When
  /// nobody reads the output any more, says so on standard error and ends the program with status
  /// `kStatusOutputLost`.
  void Line(std::string_view line);

  /// Writes a text as it is, otherwise like `Line`.
  void Text(std::string_view text);

  /// Whether somebody may still read it. Where the system does not tell, the next line will.
  [[nodiscard]] bool HasReader() const;

  /// Whether it goes to a terminal.
  [[nodiscard]] bool IsTerminal() const;

  /// What it goes to.
  [[nodiscard]] int Descriptor() const { return m_descriptor; }

  /// Writes a text on standard error in the same way, if somebody reads it.
  void ErrorText(std::string_view text);

  /// Whether standard error goes to a terminal.
  [[nodiscard]] bool ErrorsGoToTerminal() const;

  static constexpr int kStatusOutputLost = 3;

 private:
  OwnOutput();

  int m_descriptor;
};

/// Writes a line of the program's own output, ended.
inline void WriteLine(std::string_view line) { OwnOutput::Get().Line(line); }

}  // namespace tlk
