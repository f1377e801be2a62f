#include "platform/windows/WindowsControlWindow.h"

#include <algorithm>

#include "platform/windows/WindowsSockets.h"

namespace tlk {

WindowsControlWindow::WindowsControlWindow(WindowsSockets& sockets) : m_sockets(sockets) {}

std::uint32_t WindowsControlWindow::RegisterMessage(const char* name) {
  m_notifyMessage = ::RegisterWindowMessageA(name);
  return m_notifyMessage;
}

void WindowsControlWindow::StartTimer(std::uintptr_t timerId, std::uint32_t milliseconds) {
  const auto timer = std::ranges::find(m_timers, timerId, &Timer::id);
  if (timer == m_timers.end()) {
    m_timers.push_back({timerId, milliseconds});
  } else {
    timer->milliseconds = milliseconds;
  }
  // Without a window the system would make a timer of the thread, under a number of its own.
  if (m_window != nullptr) ::SetTimer(m_window, timerId, milliseconds, nullptr);
}

void WindowsControlWindow::StopTimer(std::uintptr_t timerId) {
  if (std::erase_if(m_timers, [timerId](const Timer& timer) { return timer.id == timerId; }) > 0 &&
      m_window != nullptr) {
    ::KillTimer(m_window, timerId);
  }
}

void WindowsControlWindow::Attach(HWND window) {
  m_window = window;
  for (const Timer& timer : m_timers) ::SetTimer(window, timer.id, timer.milliseconds, nullptr);
  m_sockets.MoveNotifications(window);
}

void WindowsControlWindow::Detach() {
  m_sockets.MoveNotifications(nullptr);
  for (const Timer& timer : m_timers) ::KillTimer(m_window, timer.id);
  m_window = nullptr;
}

bool WindowsControlWindow::Dispatch(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) {
  result = 0;
  if (message == WM_TIMER) return DispatchTimer(wParam);
  if (message != m_notifyMessage || message == 0) return false;
  return DispatchNotification(message, wParam, lParam, result);
}

// This object may be gone when the target returns.
bool WindowsControlWindow::DispatchTimer(std::uintptr_t timerId) {
  if (m_target == nullptr || std::ranges::find(m_timers, timerId, &Timer::id) == m_timers.end()) {
    return false;
  }
  m_target->OnTimer(timerId);
  return true;
}

// This object may be gone when the target returns.
bool WindowsControlWindow::DispatchNotification(UINT message, WPARAM wParam, LPARAM lParam,
                                                LRESULT& result) {
  if (!m_sockets.Refine(wParam, lParam) || m_target == nullptr) return true;
  bool handled = false;
  result = m_target->OnSocketNotify(message, wParam, static_cast<std::uintptr_t>(lParam), handled);
  return handled;
}

}  // namespace tlk
