#include "platform/posix/PosixSockets.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "platform/posix/PosixSocketState.h"
#include "platform/posix/SocketErrors.h"

namespace tlk {

namespace {

// How long the system goes on trying to bring out what a closed socket still holds.
constexpr unsigned kLingerMilliseconds = 30000;

// A connect that a signal interrupts goes on by itself: wait for its end and take its result.
int FinishInterruptedConnect(int descriptor) {
  pollfd wait{.fd = descriptor, .events = POLLOUT, .revents = 0};
  while (::poll(&wait, 1, -1) < 0 && errno == EINTR) {
  }
  int error = 0;
  socklen_t size = sizeof(error);
  if (::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0) {
    return -1;
  }
  errno = error;
  return error == 0 ? 0 : -1;
}

timeval ToTimeval(std::int32_t milliseconds) {
  // The option is an unsigned number of milliseconds, so a negative one is very long.
  const auto total = static_cast<std::uint32_t>(milliseconds);
  return {.tv_sec = static_cast<time_t>(total / 1000),
          .tv_usec = static_cast<suseconds_t>(total % 1000 * 1000)};
}

}  // namespace

PosixSockets::PosixSockets() : m_epoll(::epoll_create1(EPOLL_CLOEXEC)) {}
PosixSockets::~PosixSockets() = default;

PosixSockets::State* PosixSockets::Find(SocketHandle socket) {
  return socket < m_states.size() ? m_states[socket].get() : nullptr;
}

int PosixSockets::Fail(int error) {
  m_lastError = error;
  return kSocketError;
}

int PosixSockets::FailWithErrno() { return Fail(SocketErrorFromErrno(errno)); }

SocketHandle PosixSockets::Open() try {
  OwnedDescriptor descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!descriptor.IsOpen()) {
    FailWithErrno();
    return kInvalidSocket;
  }
  const auto handle = static_cast<SocketHandle>(descriptor.Get());
  if (handle >= m_states.size()) {
    m_states.resize(handle + 1);
  }
  m_states[handle] = std::make_unique<State>();
  m_states[handle]->descriptor = std::move(descriptor);
  m_states[handle]->number = ++m_lives;
  return handle;
} catch (const std::bad_alloc&) {
  Fail(socket_error::kNoBufferSpace);
  return kInvalidSocket;
}

int PosixSockets::Connect(SocketHandle socket, const InternetAddress& address) {
  const State* state = Find(socket);
  if (state == nullptr) {
    return Fail(socket_error::kNotASocket);
  }
  sockaddr_in target{};
  target.sin_family = AF_INET;
  target.sin_port = address.port;
  target.sin_addr.s_addr = address.address;
  const int descriptor = state->descriptor.Get();
  int result = ::connect(descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof(target));
  if (result != 0 && errno == EINTR) {
    result = FinishInterruptedConnect(descriptor);
  }
  return result == 0 ? 0 : FailWithErrno();
}

int PosixSockets::Send(SocketHandle socket, std::string_view bytes) {
  State* state = Find(socket);
  if (state == nullptr) {
    return Fail(socket_error::kNotASocket);
  }
  return state->blocking ? SendBlocking(*state, bytes) : SendAtOnce(*state, bytes);
}

int PosixSockets::SendBlocking(State& state, std::string_view bytes) {
  if (!DrainBacklog(state, 0)) {
    return Fail(state.error != 0 ? state.error : socket_error::kTimedOut);
  }
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const auto count =
        ::send(state.descriptor.Get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count >= 0) {
      sent += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      const int error = errno == EAGAIN ? socket_error::kTimedOut : SocketErrorFromErrno(errno);
      return sent > 0 ? static_cast<int>(sent) : Fail(error);
    }
  }
  return static_cast<int>(sent);
}

int PosixSockets::SendAtOnce(State& state, std::string_view bytes) {
  const bool room = DrainBacklog(state, MSG_DONTWAIT);
  if (state.error != 0) {
    return Fail(state.error);
  }
  ssize_t count = -1;
  errno = EAGAIN;
  if (room) {
    do {
      count =
          ::send(state.descriptor.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (count < 0 && errno == EINTR);
  }
  if (count < 0 && errno != EAGAIN) {
    return FailWithErrno();
  }
  const auto taken = count < 0 ? 0 : static_cast<std::size_t>(count);
  if (count >= 0 && taken < bytes.size()) {
    try {
      state.backlog = bytes.substr(taken);
    } catch (const std::bad_alloc&) {
      state.awaitingRoom = true;
      Watch(state);
      return static_cast<int>(taken);
    }
  }
  state.awaitingRoom = state.awaitingRoom || count < 0;
  if (state.awaitingRoom || !state.backlog.empty()) {
    Watch(state);
  }
  return count < 0 ? Fail(socket_error::kWouldBlock) : static_cast<int>(bytes.size());
}

bool PosixSockets::DrainBacklog(State& state, int flags) {
  while (!state.Backlog().empty()) {
    const auto rest = state.Backlog();
    const auto count =
        ::send(state.descriptor.Get(), rest.data(), rest.size(), MSG_NOSIGNAL | flags);
    if (count >= 0) {
      state.backlogSent += static_cast<std::size_t>(count);
    } else if (errno == EAGAIN) {
      return false;
    } else if (errno != EINTR) {
      state.error = SocketErrorFromErrno(errno);
      break;
    }
  }
  if (!state.backlog.empty()) {
    std::string().swap(state.backlog);
    state.backlogSent = 0;
  }
  return state.error == 0;
}

int PosixSockets::Close(SocketHandle socket) {
  State* state = Find(socket);
  if (state == nullptr) {
    return Fail(socket_error::kNotASocket);
  }
  state->receiver = nullptr;
  state->mask = 0;
  ReleaseAhead(*state);
  auto closed = std::move(m_states[socket]);
  if (!closed->Backlog().empty()) {
    const unsigned limit = kLingerMilliseconds;
    ::setsockopt(closed->descriptor.Get(), IPPROTO_TCP, TCP_USER_TIMEOUT, &limit, sizeof(limit));
    Watch(*closed);
    Linger(std::move(closed));
  }
  return 0;
}

// Without memory to keep it, the socket and what it still holds go at once.
void PosixSockets::Linger(std::unique_ptr<State> closed) try {
  m_lingering.push_back(std::move(closed));
} catch (const std::bad_alloc&) {
}

int PosixSockets::EnableKeepAlive(SocketHandle socket) {
  const State* state = Find(socket);
  if (state == nullptr) {
    return Fail(socket_error::kNotASocket);
  }
  const int on = 1;
  const int result =
      ::setsockopt(state->descriptor.Get(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on));
  return result == 0 ? 0 : FailWithErrno();
}

int PosixSockets::SetBlocking(SocketHandle socket) {
  State* state = Find(socket);
  if (state == nullptr) {
    return Fail(socket_error::kNotASocket);
  }
  if (state->mask != 0) {
    return Fail(socket_error::kInvalidArgument);
  }
  state->blocking = true;
  return 0;
}

int PosixSockets::SetSendTimeout(SocketHandle socket, std::int32_t milliseconds) {
  State* state = Find(socket);
  return state == nullptr ? Fail(socket_error::kNotASocket)
                          : SetTimeout(*state, SO_SNDTIMEO, state->sendTimeout, milliseconds);
}

int PosixSockets::SetReceiveTimeout(SocketHandle socket, std::int32_t milliseconds) {
  State* state = Find(socket);
  return state == nullptr ? Fail(socket_error::kNotASocket)
                          : SetTimeout(*state, SO_RCVTIMEO, state->receiveTimeout, milliseconds);
}

int PosixSockets::SetTimeout(State& state, int option, std::int32_t& current,
                             std::int32_t milliseconds) {
  if (milliseconds == current) {
    return 0;
  }
  const timeval limit = ToTimeval(milliseconds);
  if (::setsockopt(state.descriptor.Get(), SOL_SOCKET, option, &limit, sizeof(limit)) != 0) {
    return FailWithErrno();
  }
  current = milliseconds;
  return 0;
}

std::uint32_t PosixSockets::ParseAddress(const char* text) { return ::inet_addr(text); }

std::optional<std::uint32_t> PosixSockets::ResolveHost(const char* name) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int result = ::getaddrinfo(name, nullptr, &hints, &found);
  if (result != 0) {
    Fail(result == EAI_AGAIN ? socket_error::kTryAgain : socket_error::kHostNotFound);
    return std::nullopt;
  }
  const auto address = reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
  ::freeaddrinfo(found);
  return address;
}

}  // namespace tlk
