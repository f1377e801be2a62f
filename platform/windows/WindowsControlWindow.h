#pragma once

#include <winsock2.h>

#include <windows.h>

#include <vector>

#include "platform/ControlWindow.h"

namespace tlk {

class WindowsSockets;

/// The control's window, as far as timers and notifications go. The window itself is somebody
/// else's, who says when it comes and goes and shows its messages to `Dispatch`. It may come and go
/// several times: timers that are not stopped and notifications that are not called off go on in
/// the next one.
///
/// Everything happens on the window's thread. A handler of the target may destroy the window, this
/// object and its sockets.
class WindowsControlWindow : public ControlWindow {
 public:
  /// `sockets` are those whose notifications come to this window; they outlive it.
  explicit WindowsControlWindow(WindowsSockets& sockets);
  ~WindowsControlWindow() override = default;

  WindowsControlWindow(const WindowsControlWindow&) = delete;
  WindowsControlWindow& operator=(const WindowsControlWindow&) = delete;

  void SetTarget(WindowTarget* target) override { m_target = target; }
  [[nodiscard]] std::uint32_t RegisterMessage(const char* name) override;

  /// Without a window the timer waits for one, and then runs from its coming.
  void StartTimer(std::uintptr_t timerId, std::uint32_t milliseconds) override;
  void StopTimer(std::uintptr_t timerId) override;

  /// The window exists now.
  void Attach(HWND window);

  /// The window is about to be destroyed.
  void Detach();

  /// Null while there is none.
  [[nodiscard]] HWND Handle() const { return m_window; }

  /// Treats a message of the window. False when it needs the usual treatment; otherwise `result` is
  /// the answer to it.
  [[nodiscard]] bool Dispatch(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result);

 private:
  struct Timer {
    std::uintptr_t id;
    std::uint32_t milliseconds;
  };

  [[nodiscard]] bool DispatchTimer(std::uintptr_t timerId);
  [[nodiscard]] bool DispatchNotification(UINT message, WPARAM wParam, LPARAM lParam,
                                          LRESULT& result);

  WindowsSockets& m_sockets;
  WindowTarget* m_target = nullptr;
  HWND m_window = nullptr;
  UINT m_notifyMessage = 0;
  std::vector<Timer> m_timers;
};

}  // namespace tlk
