#pragma once

#include <winsock2.h>

#include <windows.h>

#include <chrono>

#include "platform/windows/WindowsControlWindow.h"
#include "platform/windows/WindowsSockets.h"
#include "tests/platform/windows/LoopbackPeer.h"

namespace tlk {

/// Winsock, for as long as the program runs.
inline const int winsockStarted = [] {
  WSADATA data;
  return ::WSAStartup(MAKEWORD(2, 2), &data);
}();

/// What may end while bytes are on their way, to a peer that pauses before each half of them.
inline constexpr const char* kEndings[] = {"loop"};
inline constexpr std::chrono::seconds kPause{3};

/// This thread's messages, and sockets whose notifications are among them.
struct MessageLoop {
  [[nodiscard]] WindowsSockets& GetSockets() { return sockets; }

  /// Waits for messages and dispatches those that are there; false when none have come.
  bool DispatchOnce(DWORD milliseconds) {
    ::MsgWaitForMultipleObjectsEx(0, nullptr, milliseconds, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    bool dispatched = false;
    for (MSG message; ::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE); dispatched = true)
      ::DispatchMessageA(&message);
    return dispatched;
  }

  WindowsSockets sockets;
};

/// A control's window on a window of its own, which can be replaced.
struct MessageWindow final : WindowsControlWindow {
  explicit MessageWindow(MessageLoop& loop) : WindowsControlWindow(loop.GetSockets()) { Appear(); }
  ~MessageWindow() override { Vanish(); }

  void Appear() {
    HWND const window =
        ::CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ::SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    ::SetWindowLongPtrA(window, GWLP_WNDPROC,
                        reinterpret_cast<LONG_PTR>(&MessageWindow::Procedure));
    Attach(window);
  }

  void Vanish() {
    HWND const window = Handle();
    Detach();
    ::DestroyWindow(window);
  }

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* const self = reinterpret_cast<MessageWindow*>(::GetWindowLongPtrA(window, GWLP_USERDATA));
    LRESULT result = 0;
    return self->Handle() == window && self->Dispatch(message, wParam, lParam, result)
               ? result
               : ::DefWindowProcA(window, message, wParam, lParam);
  }
};

}  // namespace tlk
