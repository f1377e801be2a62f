#include "tools/tlk/console/posix/TerminalState.h"

#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace tlk {
namespace {

constexpr int kEndings[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};

termios terminalBefore;
volatile std::sig_atomic_t isChanged = 0;

// Called by the handler of a signal, too.
void RestoreTerminal() {
  if (isChanged == 0) return;
  isChanged = 0;
  ::tcsetattr(STDIN_FILENO, TCSADRAIN, &terminalBefore);
}

void EndBySignal(int signal) {
  RestoreTerminal();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

TerminalState::TerminalState() {
  if (::tcgetattr(STDIN_FILENO, &terminalBefore) != 0) return;
  static const int atExit = std::atexit(RestoreTerminal);
  static_cast<void>(atExit);
  isChanged = 1;
  for (const int signal : kEndings) {
    if (std::signal(signal, EndBySignal) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

TerminalState::~TerminalState() { RestoreTerminal(); }

void TerminalState::SuspendProgram() const {
  termios state;
  ::tcgetattr(STDIN_FILENO, &state);
  ::tcsetattr(STDIN_FILENO, TCSADRAIN, &terminalBefore);
  ::kill(0, SIGTSTP);
  ::tcsetattr(STDIN_FILENO, TCSADRAIN, &state);
}

}  // namespace tlk
