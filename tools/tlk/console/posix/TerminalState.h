#pragma once

namespace tlk {

/// The state of the terminal before somebody changed it: restored at the end of this and of the
/// program, and before a signal ends the program. There is one at a time.
class TerminalState {
 public:
  TerminalState();
  ~TerminalState();

  TerminalState(const TerminalState&) = delete;
  TerminalState& operator=(const TerminalState&) = delete;

  /// Stops the program and all of its job, with the terminal as it was before, until it goes on.
  void SuspendProgram() const;
};

}  // namespace tlk
