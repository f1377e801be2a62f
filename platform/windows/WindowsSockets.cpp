#include "platform/windows/WindowsSockets.h"

#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

#include "platform/windows/WindowsSocketState.h"

namespace tlk {
namespace {

// How long a closed socket may hold its caller up for what it still has to send.
constexpr DWORD kLingerMilliseconds = 5000;

int SizeOf(std::string_view bytes) {
  return static_cast<int>(std::min<std::size_t>(bytes.size(), INT_MAX));
}

int MakeBlocking(SOCKET socket) {
  u_long nonBlocking = 0;
  return ::ioctlsocket(socket, static_cast<long>(FIONBIO), &nonBlocking);
}

int SetOptionOf(SOCKET socket, int option, DWORD value) {
  return ::setsockopt(socket, SOL_SOCKET, option, reinterpret_cast<const char*>(&value),
                      sizeof(value));
}

/// One send, which waits no longer than the limit; whatever is left then is given up.
void SendBeforeClosing(SOCKET socket, std::string_view bytes) {
  if (MakeBlocking(socket) == 0 && SetOptionOf(socket, SO_SNDTIMEO, kLingerMilliseconds) == 0) {
    ::send(socket, bytes.data(), SizeOf(bytes), 0);
  }
}

}  // namespace

WindowsSockets::WindowsSockets() = default;
WindowsSockets::~WindowsSockets() = default;

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
  if (::connect(state->Handle(), &target, sizeof(target)) == 0) return 0;
  FailAsSystem();
  state->connectPending = m_lastError == socket_error::kWouldBlock;
  return kSocketError;
}

int WindowsSockets::Send(SocketHandle socket, std::string_view bytes) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  if (!DrainBacklog(*state)) return FailSend(*state);
  const int sent = ::send(state->Handle(), bytes.data(), SizeOf(bytes), 0);
  if (sent < 0) return FailSend(*state);
  const auto taken = static_cast<std::size_t>(sent);
  if (state->blocking || taken == bytes.size()) return sent;
  try {
    state->backlog = bytes.substr(taken);
  } catch (const std::bad_alloc&) {
    return sent;
  }
  // The system tells of new room only after a send that found none.
  static_cast<void>(DrainBacklog(*state));
  return SizeOf(bytes);
}

int WindowsSockets::FailSend(State& state) {
  FailAsSystem();
  if (m_lastError == socket_error::kWouldBlock) state.writeWanted = true;
  return kSocketError;
}

// False when a send failed; the system then has its error. What did not go out stays.
bool WindowsSockets::DrainBacklog(State& state) {
  while (!state.Backlog().empty()) {
    const auto rest = state.Backlog();
    const int sent = ::send(state.Handle(), rest.data(), SizeOf(rest), 0);
    if (sent < 0) return false;
    state.backlogSent += static_cast<std::size_t>(sent);
  }
  if (!state.backlog.empty()) {
    std::string().swap(state.backlog);
    state.backlogSent = 0;
  }
  return true;
}

int WindowsSockets::Receive(SocketHandle socket, std::span<char> buffer, int size) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  if (size < 0 || static_cast<std::size_t>(size) > buffer.size()) return Fail(socket_error::kFault);
  const int count = ::recv(state->Handle(), buffer.data(), size, 0);
  const int error = count < 0 ? ::WSAGetLastError() : count > 0 ? 0 : state->ErrorAtEnd();
  state->readTold = false;
  if (state->heldClose) {
    // The system does not repeat it: it comes back to see whether bytes still wait.
    ::PostMessageA(state->window, state->message, socket, *state->heldClose);
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
  if (!closed->Backlog().empty()) SendBeforeClosing(socket, closed->Backlog());
  return closed->socket.Close() == 0 ? 0 : FailAsSystem();
}

int WindowsSockets::EnableKeepAlive(SocketHandle socket) {
  return SetOption(socket, SO_KEEPALIVE, 1);
}

int WindowsSockets::SetBlocking(SocketHandle socket) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  if (state->mask != 0) return Fail(socket_error::kInvalidArgument);
  if (MakeBlocking(socket) != 0) return FailAsSystem();
  state->blocking = true;
  return 0;
}

int WindowsSockets::SetSendTimeout(SocketHandle socket, std::int32_t milliseconds) {
  return SetOption(socket, SO_SNDTIMEO, static_cast<DWORD>(milliseconds));
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
