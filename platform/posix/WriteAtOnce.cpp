#include "platform/WriteAtOnce.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {
namespace {

/// Keeps the signals that go with a write from the process: a pipe without a reader and a limit on
/// file sizes would end it, a terminal that lets no background program print would stop it.
class HeldSignals {
 public:
  HeldSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGPIPE, SIGXFSZ, SIGTTOU}) sigaddset(&held, signal);
    pthread_sigmask(SIG_BLOCK, &held, &m_mask);
    sigset_t pending;
    sigpending(&pending);
    sigemptyset(&m_raised);
    for (const int signal : {SIGPIPE, SIGXFSZ})
      if (sigismember(&pending, signal) == 0) sigaddset(&m_raised, signal);
  }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;
  ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &m_mask, nullptr); }

  /// Takes what a failed write has raised, and leaves what the host had waiting before.
  void TakeRaised() const {
    constexpr timespec kAtOnce{};
    sigtimedwait(&m_raised, nullptr, &kAtOnce);
  }

 private:
  sigset_t m_mask;
  sigset_t m_raised;
};

/// For a pipe that may not be opened anew, another user's: what has been put into a pipe of our own
/// can be moved on without a wait.
ssize_t WriteThroughPipe(int descriptor, std::string_view text) {
  std::array<int, 2> ends{-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return -1;
  const OwnedDescriptor from(ends[0]);
  const OwnedDescriptor to(ends[1]);
  const ssize_t moved = write(to.Get(), text.data(), text.size());
  if (moved <= 0) return moved;
  return splice(from.Get(), nullptr, descriptor, nullptr, static_cast<size_t>(moved),
                SPLICE_F_NONBLOCK);
}

/// For a terminal that may not be opened anew. It tells whether it takes anything, never how much,
/// so it is asked before each byte.
ssize_t WriteWhileReady(int descriptor, std::string_view text) {
  ssize_t written = 0;
  for (const char& byte : text) {
    pollfd asked{descriptor, POLLOUT, 0};
    if (poll(&asked, 1, 0) != 1 || write(descriptor, &byte, 1) != 1) break;
    ++written;
  }
  return written;
}

/// Not to wait must be asked for each write: the descriptor's own flag is shared with the host, and
/// with every process that has inherited it. Most pipes can be asked since Linux 6.4; what cannot,
/// opened anew, has a flag of its own.
ssize_t WriteToReader(int descriptor, mode_t mode, std::string_view text) {
  const iovec piece{const_cast<char*>(text.data()), text.size()};
  const ssize_t written = pwritev2(descriptor, &piece, 1, -1, RWF_NOWAIT);
  if (written != -1 || errno == EAGAIN || errno == EPIPE || errno == EINTR) return written;
  const char* const path = descriptor == STDOUT_FILENO ? "/proc/self/fd/1" : "/proc/self/fd/2";
  const OwnedDescriptor own(open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (own.IsOpen()) return write(own.Get(), text.data(), text.size());
  return S_ISFIFO(mode) ? WriteThroughPipe(descriptor, text) : WriteWhileReady(descriptor, text);
}

ssize_t WriteToKind(int descriptor, mode_t mode, std::string_view text) {
  if (S_ISREG(mode)) return write(descriptor, text.data(), text.size());
  if (S_ISSOCK(mode))
    return send(descriptor, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  return WriteToReader(descriptor, mode, text);
}

}  // namespace

std::size_t WriteAtOnce(StandardStream stream, std::string_view text) noexcept {
  const int descriptor = stream == StandardStream::kOutput ? STDOUT_FILENO : STDERR_FILENO;
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return 0;
  const HeldSignals held;
  ssize_t written = 0;
  do {
    written = WriteToKind(descriptor, status.st_mode, text);
  } while (written == -1 && errno == EINTR);
  if (written >= 0) return static_cast<std::size_t>(written);
  held.TakeRaised();
  return 0;
}

}  // namespace tlk
