#include "platform/posix/PosixSockets.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "platform/posix/CallLimit.h"
#include "platform/posix/PosixSocketState.h"
#include "platform/posix/SocketErrors.h"

namespace tlk {

namespace {

// A connect that a signal interrupts goes on by itself: wait for its end and take its result.
int FinishInterruptedConnect(int descriptor) {
  pollfd wait{.fd = descriptor, .events = POLLOUT, .revents = 0};
  while (::poll(&wait, 1, -1) < 0 && errno == EINTR) {
  }
  int error = 0;
  socklen_t size = sizeof(error);
  if (::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return -1;
  errno = error;
  return error == 0 ? 0 : -1;
}

}  // namespace

PosixSockets::State* PosixSockets::Find(SocketHandle socket) {
  return socket < m_states.size() ? m_states[socket].get() : nullptr;
}

int PosixSockets::Fail(int error) {
  m_lastError = error;
  return kSocketError;
}

int PosixSockets::FailWithErrno() { return Fail(SocketErrorFromErrno(errno)); }

SocketHandle PosixSockets::Open() try {
  SweepClosed();
  OwnedDescriptor descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!descriptor.IsOpen()) {
    FailWithErrno();
    return kInvalidSocket;
  }
  const auto handle = static_cast<SocketHandle>(descriptor.Get());
  if (handle >= m_states.size()) m_states.resize(handle + 1);
  m_states[handle] = std::make_unique<State>();
  m_states[handle]->descriptor = std::move(descriptor);
  m_states[handle]->number = ++m_lives;
  return handle;
} catch (const std::bad_alloc&) {
  Fail(socket_error::kNoBufferSpace);
  return kInvalidSocket;
}

int PosixSockets::Connect(SocketHandle socket, const InternetAddress& address) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  sockaddr_in target{};
  target.sin_family = AF_INET;
  target.sin_port = address.port;
  target.sin_addr.s_addr = address.address;
  const int descriptor = state->descriptor.Get();
  int result = ::connect(descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof(target));
  if (result != 0 && errno == EINTR) result = FinishInterruptedConnect(descriptor);
  if (result != 0) return FailWithErrno();
  state->isConnected = true;
  return 0;
}

int PosixSockets::Send(SocketHandle socket, std::string_view bytes) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  if (!state->isConnected) {
    // The system takes it for a broken connection.
    return Fail(socket_error::kNotConnected);
  }
  return state->blocking ? SendBlocking(*state, bytes) : SendAtOnce(*state, bytes);
}

int PosixSockets::SendBlocking(State& state, std::string_view bytes) {
  const CallLimit limit(state.sendTimeout);
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    int error = socket_error::kNone;
    const auto count = SendNow(state, bytes.substr(sent), error);
    if (count >= 0) {
      sent += static_cast<std::size_t>(count);
      continue;
    }
    const bool isFull = error == socket_error::kWouldBlock;
    if (isFull && limit.WaitFor(state.descriptor.Get(), POLLOUT)) continue;
    return sent > 0 ? static_cast<int>(sent) : Fail(isFull ? socket_error::kTimedOut : error);
  }
  return static_cast<int>(sent);
}

int PosixSockets::SendAtOnce(State& state, std::string_view bytes) {
  int error = socket_error::kNone;
  const auto count = SendNow(state, bytes, error);
  if (count < 0 && error != socket_error::kWouldBlock) return Fail(error);
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
  if (state.awaitingRoom || !state.backlog.empty()) Watch(state);
  return count < 0 ? Fail(socket_error::kWouldBlock) : static_cast<int>(bytes.size());
}

// Sends what the system takes at once, what is left of earlier texts first. Returns how much of
// `bytes` it took, or -1 and says why.
std::ptrdiff_t PosixSockets::SendNow(State& state, std::string_view bytes, int& error) {
  if (!DrainBacklog(state)) {
    error = state.error != socket_error::kNone ? state.error : socket_error::kWouldBlock;
    return -1;
  }
  const ssize_t count =
      ::send(state.descriptor.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  error = count < 0 ? SocketErrorFromErrno(errno) : socket_error::kNone;
  return count;
}

bool PosixSockets::DrainBacklog(State& state) {
  while (!state.Backlog().empty()) {
    const auto rest = state.Backlog();
    const auto count =
        ::send(state.descriptor.Get(), rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count >= 0) {
      state.backlogSent += static_cast<std::size_t>(count);
    } else if (errno == EAGAIN) {
      return false;
    } else {
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

int PosixSockets::EnableKeepAlive(SocketHandle socket) {
  const State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  const int on = 1;
  const int result =
      ::setsockopt(state->descriptor.Get(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on));
  return result == 0 ? 0 : FailWithErrno();
}

int PosixSockets::SetBlocking(SocketHandle socket) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  if (state->mask != 0) return Fail(socket_error::kInvalidArgument);
  state->blocking = true;
  return 0;
}

int PosixSockets::SetSendTimeout(SocketHandle socket, std::int32_t milliseconds) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  state->sendTimeout = milliseconds;
  return 0;
}

int PosixSockets::SetReceiveTimeout(SocketHandle socket, std::int32_t milliseconds) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  state->receiveTimeout = milliseconds;
  return 0;
}

std::uint32_t PosixSockets::ParseAddress(const char* text) { return ::inet_addr(text); }

std::optional<std::uint32_t> PosixSockets::ResolveHost(const char* name) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
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
