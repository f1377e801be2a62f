#include "tools/tlk/OwnOutput.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/Utf8.h"
#include "tools/tlk/posix/TerminalText.h"

namespace tlk {
namespace {

constexpr int kFirstFreeDescriptor = STDERR_FILENO + 1;

/// Without a standard error the descriptor still has to lead somewhere: left free, it would be
/// handed to the next socket, and what libraries print would go out on that.
void SendStandardOutputToStandardError() {
  if (::dup2(STDERR_FILENO, STDOUT_FILENO) != -1) return;
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere != -1 && nowhere != STDOUT_FILENO) {
    ::dup2(nowhere, STDOUT_FILENO);
    ::close(nowhere);
  }
}

/// Waits until a descriptor that does not block has room again; false when that cannot be.
bool WaitForRoom(int descriptor) {
  pollfd waited{descriptor, POLLOUT, 0};
  return ::poll(&waited, 1, -1) != -1 || errno == EINTR;
}

[[noreturn]] void EndWithoutOutput(int error) {
  std::fprintf(stderr, "tlk: cannot write standard output: %s\n", std::strerror(error));
  std::exit(OwnOutput::kStatusOutputLost);
}

/// Returns why it failed, or 0.
int WriteBytes(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto written = ::write(descriptor, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN ? !WaitForRoom(descriptor) : errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

bool IsTerminalAt(int descriptor) { return ::isatty(descriptor) == 1; }

int WriteText(int descriptor, std::string_view text) {
  if (!IsTerminalAt(descriptor) || TerminalIsUtf8()) return WriteBytes(descriptor, text);
  std::string encoded;
  TerminalText().Narrow(ToUtf16(text), encoded);
  return WriteBytes(descriptor, encoded);
}

}  // namespace

OwnOutput& OwnOutput::Get() {
  static OwnOutput output;
  return output;
}

OwnOutput::OwnOutput()
    : m_descriptor(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, kFirstFreeDescriptor)) {
  SendStandardOutputToStandardError();
  std::signal(SIGPIPE, SIG_IGN);
}

void OwnOutput::Line(std::string_view line) { Text(std::string(line) + '\n'); }

void OwnOutput::Text(std::string_view text) {
  const int failure = WriteText(m_descriptor, text);
  if (failure != 0) EndWithoutOutput(failure);
}

void OwnOutput::ErrorText(std::string_view text) { WriteText(STDERR_FILENO, text); }

bool OwnOutput::HasReader() const {
  pollfd looked{m_descriptor, 0, 0};
  return ::poll(&looked, 1, 0) <= 0 || (looked.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
}

bool OwnOutput::IsTerminal() const { return IsTerminalAt(m_descriptor); }

bool OwnOutput::ErrorsGoToTerminal() const { return IsTerminalAt(STDERR_FILENO); }

}  // namespace tlk
