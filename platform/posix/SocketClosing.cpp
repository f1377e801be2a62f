#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <limits>
#include <new>
#include <utility>

#include "platform/posix/PosixSocketState.h"
#include "platform/posix/PosixSockets.h"
#include "platform/posix/SocketErrors.h"

namespace tlk {

namespace {

// How long the system goes on trying to bring out what a closed socket still holds.
constexpr unsigned kLingerMilliseconds = 30000;

// How long the end of a loop waits for peers that take nothing, and how often it looks.
constexpr std::chrono::seconds kLastPatience{5};
constexpr int kLookMilliseconds = 10;

// Bytes that the system has taken and the peer's system has not, a farewell included. Of a
// connection that is dead it still counts what it has thrown away.
std::size_t UnconfirmedBytes(int descriptor) {
  int count = 0;
  if (::ioctl(descriptor, SIOCOUTQ, &count) != 0 || count == 0) return 0;
  tcp_info info{};
  socklen_t size = sizeof(info);
  const bool isDead = ::getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 &&
                      info.tcpi_state == TCP_CLOSE;
  return isDead ? 0 : static_cast<std::size_t>(count);
}

// Takes what the peer of a closed socket still sends, so that it gets on with reading. Returns an
// error, and tells whether the stream has ended. It takes 256 KB at most, so that a flood does not
// hold up the loop; the next call goes on.
int Discard(int descriptor, bool& endSeen) {
  std::array<char, 16384> bytes;
  for (int i = 0; i < 16; ++i) {
    const auto count = ::recv(descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count < 0) return errno == EAGAIN ? 0 : SocketErrorFromErrno(errno);
    if (count == 0) {
      endSeen = true;
      break;
    }
  }
  return 0;
}

}  // namespace

// A thread that ends, and a program that ends by `exit`, leaves loops undestroyed on its stack.
struct PosixSockets::OfThread {
  ~OfThread() {
    for (PosixSockets* sockets = first; sockets != nullptr; sockets = sockets->m_next) {
      sockets->BringOutRest();
    }
  }
  static thread_local PosixSockets* first;
};

thread_local PosixSockets* PosixSockets::OfThread::first = nullptr;

PosixSockets::PosixSockets() : m_process(::getpid()), m_epoll(::epoll_create1(EPOLL_CLOEXEC)) {
  static thread_local const OfThread ofThread;
  m_next = std::exchange(OfThread::first, this);
}

PosixSockets::~PosixSockets() {
  BringOutRest();
  PosixSockets** link = &OfThread::first;
  while (*link != nullptr && *link != this) {
    link = &(*link)->m_next;
  }
  if (*link != nullptr) *link = m_next;
}

// A child that was forked closes its own copy and nothing else: what is left to send is its
// parent's business.
int PosixSockets::Close(SocketHandle socket) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  state->mask = 0;
  ReleaseAhead(*state);
  auto closed = std::move(m_states[socket]);
  if (m_process == ::getpid() && !HasGoneOut(*closed)) Linger(std::move(closed));
  return 0;
}

// Whether the peer's system has everything, or nothing more can be brought there. To close earlier
// would be safe only with a peer that sends nothing: for what nobody reads the system resets the
// connection, and throws away what it still holds.
bool PosixSockets::HasGoneOut(State& state) {
  const bool isDrained = DrainBacklog(state);
  return state.error != socket_error::kNone ||
         (isDrained && UnconfirmedBytes(state.descriptor.Get()) == 0);
}

// Without memory to keep it, the socket and what it still holds go at once.
void PosixSockets::Linger(std::unique_ptr<State> closed) try {
  const unsigned limit = kLingerMilliseconds;
  ::setsockopt(closed->descriptor.Get(), IPPROTO_TCP, TCP_USER_TIMEOUT, &limit, sizeof(limit));
  closed->isClosed = true;
  m_lingering.push_back(std::move(closed));
  State& state = *m_lingering.back();
  if (BringOut(state)) m_lingering.pop_back();
} catch (const std::bad_alloc&) {
}

// Goes on with a closed socket; returns whether it is done with.
bool PosixSockets::BringOut(State& state) {
  const int error = Discard(state.descriptor.Get(), state.endSeen);
  if (state.error == socket_error::kNone) state.error = error;
  if (state.error == socket_error::kNone && DrainBacklog(state)) {
    ::shutdown(state.descriptor.Get(), SHUT_WR);
  }
  Watch(state);
  return HasGoneOut(state);
}

void PosixSockets::OnClosedReady(Life life) {
  const auto found =
      std::find_if(m_lingering.begin(), m_lingering.end(),
                   [life](const auto& state) { return state->number == life.number; });
  if (found != m_lingering.end() && BringOut(**found)) m_lingering.erase(found);
}

// The system does not tell when the last byte has been confirmed.
void PosixSockets::SweepClosed() {
  std::erase_if(m_lingering, [this](const auto& state) { return BringOut(*state); });
}

void PosixSockets::BringOutRest() noexcept {
  for (SocketHandle socket = 0; socket < m_states.size(); ++socket) {
    Close(socket);
  }
  using Clock = std::chrono::steady_clock;
  auto lastProgress = Clock::now();
  std::size_t least = std::numeric_limits<std::size_t>::max();
  while (m_process == ::getpid() && !m_lingering.empty()) {
    std::size_t rest = 0;
    for (const auto& state : m_lingering) {
      rest += state->Backlog().size() + UnconfirmedBytes(state->descriptor.Get());
    }
    if (rest < least) {
      least = rest;
      lastProgress = Clock::now();
    } else if (Clock::now() - lastProgress > kLastPatience) {
      break;
    }
    epoll_event event;
    ::epoll_wait(m_epoll.Get(), &event, 1, kLookMilliseconds);
    SweepClosed();
  }
  m_lingering.clear();
}

}  // namespace tlk
