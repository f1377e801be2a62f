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

/// Takes what the window has been posted about the socket and not seen yet. The rest keeps its
/// order: each word goes to the end of the queue, until the one comes that marks the end.
void RemovePosted(HWND window, UINT message, SocketHandle socket) {
  constexpr LPARAM kEnd = -1;
  if (!::PostMessageA(window, message, kInvalidSocket, kEnd)) return;
  for (MSG word; ::PeekMessageA(&word, window, message, message, PM_REMOVE);) {
    if (word.wParam == kInvalidSocket && word.lParam == kEnd) return;
    if (word.wParam != socket) ::PostMessageA(window, message, word.wParam, word.lParam);
  }
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
  if (Find(socket) == nullptr) return Fail(socket_error::kNotASocket);
  HWND const handle = static_cast<WindowsControlWindow&>(window).Handle();
  if (!::IsWindow(handle)) return Fail(socket_error::kInvalidArgument);
  if (::WSAAsyncSelect(socket, handle, message, 0) != 0) return FailAsSystem();
  RemovePosted(handle, message, socket);
  // Found only now: looking into the queue lets other threads' windows call in.
  State* const state = Find(socket);
  if (state == nullptr) return Fail(socket_error::kNotASocket);
  if (mask != 0 && ::WSAAsyncSelect(socket, handle, message, static_cast<long>(mask)) != 0) {
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

bool WindowsSockets::Refine(WPARAM wParam, LPARAM& lParam) {
  State* const state = Find(wParam);
  const std::uint32_t event = WSAGETSELECTEVENT(lParam);
  if (state != nullptr && state->mask == 0) return false;
  if (event == socket_event::kClose) return state == nullptr || state->RefineClose(lParam);
  if (WSAGETSELECTERROR(lParam) != 0) return true;
  switch (event) {
    case socket_event::kRead:
      return state != nullptr && state->RefineRead();
    case socket_event::kWrite:
      return state != nullptr && state->DrainBacklog() && std::exchange(state->writeWanted, false);
    case socket_event::kConnect:
      return state != nullptr;
    default:
      return true;
  }
}

bool WindowsSockets::State::RefineRead() {
  if (WaitingBytes(Handle()) > 0) return !std::exchange(readTold, true);
  // The system posts the next one only after a receive, and the target will make none.
  static_cast<void>(Peek(Handle()));
  return false;
}

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
  if (WSAGETSELECTERROR(lParam) == 0) {
    if (error == socket_error::kWouldBlock) return false;  // The stream has not ended.
    lParam = WSAMAKESELECTREPLY(FD_CLOSE, error);
  }
  return closeTold = true;
}

}  // namespace tlk
