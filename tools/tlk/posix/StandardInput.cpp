#include "tools/tlk/StandardInput.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tlk {
namespace {

constexpr std::size_t kReadSize = 65536;

/// Waits until a descriptor that does not block holds something; false when that cannot be.
bool WaitForBytes() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, -1) != -1 || errno == EINTR;
}

}  // namespace

bool ReadStandardInput(std::string& bytes) {
  const std::size_t size = bytes.size();
  bytes.resize(size + kReadSize);
  const ssize_t count = read(STDIN_FILENO, bytes.data() + size, kReadSize);
  const int error = count < 0 ? errno : 0;
  bytes.resize(size + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return count > 0 || error == EINTR || (error == EAGAIN && WaitForBytes());
}

void WaitForStandardInput() { WaitForBytes(); }

bool StandardInputIsTerminal() { return isatty(STDIN_FILENO) == 1; }

}  // namespace tlk
