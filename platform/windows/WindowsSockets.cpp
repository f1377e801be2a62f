#include "platform/windows/WindowsSockets.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <new>

#include "platform/windows/WindowsSocketState.h"

namespace tlk {
namespace {

// How long a socket may hold up who closes it without bringing out any of what it still has to
// send.
constexpr DWORD kLingerMilliseconds = 5000;

// How often a full socket is tried. It takes more as soon as the peer has read anything, but the
// system calls it writable only when a good part of it is free.
constexpr ULONGLONG kRetryMilliseconds = 50;

int SizeOf(std::string_view bytes) {
  return static_cast<int>(std::min<std::size_t>(bytes.size(), INT_MAX));
}

int SetNonBlocking(SOCKET socket, u_long nonBlocking) {
  return ::ioctlsocket(socket, static_cast<long>(FIONBIO), &nonBlocking);
}

int SetOptionOf(SOCKET socket, int option, DWORD value) {
  return ::setsockopt(socket, SOL_SOCKET, option, reinterpret_cast<const char*>(&value),
                      sizeof(value));
}

void WaitForRoom(SOCKET socket, ULONGLONG milliseconds) {
  fd_set wanted{.fd_count = 1, .fd_array = {socket}};
  timeval limit{.tv_sec = 0,
                .tv_usec = static_cast<long>(std::min(milliseconds, kRetryMilliseconds)) * 1000};
  ::select(0, nullptr, &wanted, nullptr, &limit);
}

}  // namespace

WindowsSockets::WindowsSockets() = default;

WindowsSockets::~WindowsSockets() {
  while (!m_states.empty()) Close(m_states.back()->Handle());
}

WindowsSockets::State* WindowsSockets::Find(SocketHandle socket) {
  const auto found = std::ranges::find_if(
      m_states, [socket](const auto& state) { return state->Handle() == socket; });
  return found == m_states.end() ? nullptr : found->get();
}

int WindowsSockets::Fail(int error) {
  m_lastError = error;
  return kSocketError;
}

int WindowsSockets::FailAsSystem() { return Fail(::WSAGetLastError()); }

SocketHandle WindowsSockets::Open() try {
  auto state = std::make_unique<State>();
  state->socket = OwnedSocket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
  const SOCKET handle = state->Handle();
  if (handle == INVALID_SOCKET) {
    FailAsSystem();
    return kInvalidSocket;
  }
  // A program that the host starts must not hold the connection open.
  ::SetHandleInformation(reinterpret_cast<HANDLE>(handle), HANDLE_FLAG_INHERIT, 0);
  m_states.push_back(std::move(state));
  return handle;
} catch (const std::bad_alloc&) {
  Fail(socket_error::kNoBufferSpace);
  return kInvalidSocket;
}

int WindowsSockets::Connect(SocketHandle socket, const InternetAddress& address) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  sockaddr target{};
  static_assert(sizeof(target) == sizeof(address));
  std::memcpy(&target, &address, sizeof(target));
  const int result = ::connect(state->Handle(), &target, sizeof(target)) == 0 ? 0 : FailAsSystem();
  state->connected = result == 0 || m_lastError == socket_error::kWouldBlock;
  return result;
}

int WindowsSockets::Send(SocketHandle socket, std::string_view bytes) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  if (!state->connected) return Fail(socket_error::kNotConnected);
  return state->blocking ? SendBlocking(*state, bytes) : SendAtOnce(*state, bytes);
}

// The limit is one for what still waits and for the text. Of a text that it cuts off nobody knows
// how much the system took: that is a failure.
int WindowsSockets::SendBlocking(State& state, std::string_view bytes) {
  Patience patience(state.sendLimit);
  if (!state.Backlog().empty()) {
    if (SetNonBlocking(state.Handle(), 1) != 0) return FailAsSystem();
    const int error = state.DrainWaiting(patience);
    if (SetNonBlocking(state.Handle(), 0) != 0) return FailAsSystem();
    if (error != 0) return Fail(error);
  }
  const ULONGLONG left = patience.Left();
  if (left == 0) return Fail(socket_error::kTimedOut);
  if (left != Patience::kEndless &&
      SetOptionOf(state.Handle(), SO_SNDTIMEO, static_cast<DWORD>(left)) != 0) {
    return FailAsSystem();
  }
  const int sent = ::send(state.Handle(), bytes.data(), SizeOf(bytes), 0);
  return sent < 0 ? FailAsSystem() : sent;
}

int WindowsSockets::SendAtOnce(State& state, std::string_view bytes) {
  if (!state.DrainBacklog()) return FailSend(state);
  const int sent = ::send(state.Handle(), bytes.data(), SizeOf(bytes), 0);
  if (sent < 0) return FailSend(state);
  const auto taken = static_cast<std::size_t>(sent);
  if (taken == bytes.size()) return sent;
  try {
    state.backlog = bytes.substr(taken);
  } catch (const std::bad_alloc&) {
    return sent;
  }
  // The system tells of new room only after a send that found none.
  static_cast<void>(state.DrainBacklog());
  return SizeOf(bytes);
}

int WindowsSockets::FailSend(State& state) {
  FailAsSystem();
  if (m_lastError == socket_error::kWouldBlock) state.writeWanted = true;
  return kSocketError;
}

bool WindowsSockets::State::SendOfBacklog() {
  const auto rest = Backlog();
  const int sent = ::send(Handle(), rest.data(), SizeOf(rest), 0);
  if (sent < 0) return false;
  backlogSent += static_cast<std::size_t>(sent);
  if (backlogSent == backlog.size()) {
    std::string().swap(backlog);
    backlogSent = 0;
  }
  return true;
}

bool WindowsSockets::State::DrainBacklog() {
  while (!Backlog().empty()) {
    if (!SendOfBacklog()) return false;
  }
  return true;
}

// The system answers bytes that nobody reads with a reset, and forgets what it has not brought out.
void WindowsSockets::State::Discard() {
  std::array<char, 16384> bytes;
  for (int i = 0; i < 16; ++i) {
    if (::recv(Handle(), bytes.data(), static_cast<int>(bytes.size()), 0) <= 0) break;
  }
}

int WindowsSockets::State::DrainWaiting(Patience& patience) {
  while (!Backlog().empty()) {
    const ULONGLONG left = patience.Left();
    if (left == 0) return socket_error::kTimedOut;
    if (isClosed) Discard();
    if (SendOfBacklog()) {
      patience.OnProgress();
    } else if (const int error = ::WSAGetLastError(); error == socket_error::kWouldBlock) {
      WaitForRoom(Handle(), left);
    } else {
      return error;
    }
  }
  return 0;
}

int WindowsSockets::Receive(SocketHandle socket, std::span<char> buffer, int size) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  if (!state->connected) return Fail(socket_error::kNotConnected);
  if (size < 0 || static_cast<std::size_t>(size) > buffer.size()) return Fail(socket_error::kFault);
  const int count = ::recv(state->Handle(), buffer.data(), size, 0);
  const int error = count < 0 ? ::WSAGetLastError() : count > 0 ? 0 : state->ErrorAtEnd();
  state->readTold = false;
  if (const auto held = std::exchange(state->heldClose, std::nullopt)) {
    // The system does not repeat it: it comes back, once, to see whether bytes still wait.
    ::PostMessageA(state->window, state->message, socket, *held);
  }
  if (error != 0) return Fail(error);
  if (count == 0 && size > 0 && state->blocking && std::exchange(state->endSeen, true)) {
    return Fail(socket_error::kDisconnected);
  }
  return count;
}

int WindowsSockets::Close(SocketHandle socket) {
  const auto found = std::ranges::find_if(
      m_states, [socket](const auto& state) { return state->Handle() == socket; });
  if (found == m_states.end()) return Fail(socket_error::kNotASocket);
  const auto closed = std::move(*found);
  m_states.erase(found);
  if (closed->mask != 0) ::WSAAsyncSelect(socket, closed->window, 0, 0);
  closed->isClosed = true;
  if (SetNonBlocking(socket, 1) == 0) {
    Patience patience(kLingerMilliseconds, Patience::kAnewWithProgress);
    static_cast<void>(closed->DrainWaiting(patience));
    closed->Discard();
  }
  return closed->socket.Close() == 0 ? 0 : FailAsSystem();
}

int WindowsSockets::EnableKeepAlive(SocketHandle socket) {
  return SetOption(socket, SO_KEEPALIVE, 1);
}

int WindowsSockets::SetBlocking(SocketHandle socket) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  if (state->mask != 0) return Fail(socket_error::kInvalidArgument);
  if (SetNonBlocking(socket, 0) != 0) return FailAsSystem();
  state->blocking = true;
  return 0;
}

int WindowsSockets::SetSendTimeout(SocketHandle socket, std::int32_t milliseconds) {
  if (SetOption(socket, SO_SNDTIMEO, static_cast<DWORD>(milliseconds)) != 0) return kSocketError;
  Find(socket)->sendLimit = static_cast<DWORD>(milliseconds);
  return 0;
}

int WindowsSockets::SetReceiveTimeout(SocketHandle socket, std::int32_t milliseconds) {
  return SetOption(socket, SO_RCVTIMEO, static_cast<DWORD>(milliseconds));
}

int WindowsSockets::SetOption(SocketHandle socket, int option, DWORD value) {
  if (Find(socket) == nullptr) return Fail(socket_error::kNotASocket);
  return SetOptionOf(socket, option, value) == 0 ? 0 : FailAsSystem();
}

std::uint32_t WindowsSockets::ParseAddress(const char* text) { return ::inet_addr(text); }

std::optional<std::uint32_t> WindowsSockets::ResolveHost(const char* name) {
  const hostent* const host = ::gethostbyname(name);
  if (host == nullptr) {
    FailAsSystem();
    return std::nullopt;
  }
  std::uint32_t address = 0;
  std::memcpy(&address, host->h_addr_list[0], sizeof(address));
  return address;
}

}  // namespace tlk
