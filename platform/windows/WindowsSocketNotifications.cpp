#include <windows.h>

#include <utility>

#include "platform/windows/WindowsControlWindow.h"
#include "platform/windows/WindowsSocketState.h"

namespace tlk {
namespace {

static_assert(socket_event::kRead == FD_READ && socket_event::kWrite == FD_WRITE);
static_assert(socket_event::kConnect == FD_CONNECT && socket_event::kClose == FD_CLOSE);

u_long WaitingBytes(SOCKET socket) {
  u_long count = 0;
  return ::ioctlsocket(socket, static_cast<long>(FIONREAD), &count) == 0 ? count : 0;
}

/// As a receive of one byte, but leaves the byte where it is.
int Peek(SOCKET socket) {
  char byte = 0;
  return ::recv(socket, &byte, 1, MSG_PEEK);
}

}  // namespace

int WindowsSockets::State::Select() const {
  return ::WSAAsyncSelect(Handle(), window, message, static_cast<long>(mask));
}

// Wine ends a stream that was reset like any other. A send of nothing tells the two apart, and does
// nothing while the peer has merely closed its side.
int WindowsSockets::State::ErrorAtEnd() const {
  if (::send(Handle(), "", 0, 0) == 0) return socket_error::kNone;
  const int error = ::WSAGetLastError();
  return error == socket_error::kWouldBlock ? socket_error::kNone : error;
}

int WindowsSockets::RequestNotifications(SocketHandle socket, ControlWindow& window,
                                         std::uint32_t message, std::uint32_t mask) {
  State* state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  HWND const handle = static_cast<WindowsControlWindow&>(window).Handle();
  if (!::IsWindow(handle)) return Fail(socket_error::kInvalidArgument);
  if (::WSAAsyncSelect(socket, handle, message, static_cast<long>(mask)) != 0) {
    return FailAsSystem();
  }
  state->blocking = false;
  state->window = handle;
  state->message = message;
  state->mask = mask;
  state->readTold = false;
  state->heldClose.reset();  // Posted again, as is everything else that has already happened.
  state->writeWanted = true;
  return 0;
}

void WindowsSockets::MoveNotifications(HWND window) {
  for (const auto& state : m_states) {
    if (state->mask == 0) continue;
    if (window == nullptr) ::WSAAsyncSelect(state->Handle(), state->window, 0, 0);
    state->window = window;
    state->readTold = false;
    state->heldClose.reset();
    // One that the system refuses stays silent, as it would if its window were gone.
    if (window != nullptr) static_cast<void>(state->Select());
  }
}

bool WindowsSockets::Refine(UINT message, WPARAM wParam, LPARAM& lParam) {
  State* state = Find(wParam);
  const std::uint32_t event = WSAGETSELECTEVENT(lParam);
  if (state == nullptr || state->message != message || (state->mask & event) == 0) return false;
  switch (event) {
    case socket_event::kRead:
      return state->RefineRead();
    case socket_event::kWrite:
      return state->DrainBacklog() && state->RefineWrite();
    case socket_event::kConnect:
      return std::exchange(state->connectPending, false);
    case socket_event::kClose:
      return state->RefineClose(lParam);
    default:
      return false;
  }
}

bool WindowsSockets::State::RefineRead() {
  if (WaitingBytes(Handle()) > 0) return !std::exchange(readTold, true);
  // The system posts the next one only after a receive, and the target will make none.
  static_cast<void>(Peek(Handle()));
  return false;
}

bool WindowsSockets::State::RefineWrite() { return std::exchange(writeWanted, false); }

bool WindowsSockets::State::RefineClose(LPARAM& lParam) {
  if (closeTold) return false;
  const int peeked = Peek(Handle());
  if (peeked > 0) {
    heldClose = lParam;
    lParam = WSAMAKESELECTREPLY(FD_READ, 0);
    return (mask & socket_event::kRead) != 0 && !std::exchange(readTold, true);
  }
  const int error = peeked < 0 ? ::WSAGetLastError() : ErrorAtEnd();
  heldClose.reset();
  // About an earlier socket of the same number.
  if (error == socket_error::kWouldBlock) return false;
  closeTold = true;
  if (WSAGETSELECTERROR(lParam) == 0) lParam = WSAMAKESELECTREPLY(FD_CLOSE, error);
  return true;
}

}  // namespace tlk
