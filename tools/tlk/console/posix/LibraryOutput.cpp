#include "tools/tlk/console/LibraryOutput.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {

/// Its other end is standard output alone.
struct LibraryOutput::Pipe {
  OwnedDescriptor from;
};

// Where there is no pipe to be had, all goes on where it went, and the end comes at once.
LibraryOutput::LibraryOutput() : m_pipe(std::make_unique<Pipe>()) {
  std::array<int, 2> ends{-1, -1};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return;
  m_pipe->from = OwnedDescriptor(ends[0]);
  ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
  ::dup2(ends[1], STDOUT_FILENO);
  ::close(ends[1]);
}

LibraryOutput::~LibraryOutput() = default;

void LibraryOutput::End() { ::dup2(STDERR_FILENO, STDOUT_FILENO); }

void LibraryOutput::Wait() const {
  pollfd waited{m_pipe->from.Get(), POLLIN, 0};
  ::poll(&waited, 1, m_pipe->from.IsOpen() ? -1 : 0);
}

bool LibraryOutput::Take(std::string& bytes) {
  std::array<char, 4096> piece;
  while (true) {
    const ssize_t count = ::read(m_pipe->from.Get(), piece.data(), piece.size());
    if (count > 0) {
      bytes.append(piece.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return count < 0 && errno == EAGAIN;
    }
  }
}

}  // namespace tlk
