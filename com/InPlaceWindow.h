#pragma once

#include "platform/windows/WindowsControlWindow.h"

#include <unknwn.h>

namespace tlk {

/// What the window of a control asks of it.
class WindowOwner {
 public:
  virtual void OnFocus(bool gained) = 0;
  virtual void OnUsed() = 0;  ///< The user has clicked on it.

 protected:
  ~WindowOwner() = default;
};

/// The child window of a control that is active in place, the target of its timers and
/// notifications. The control is held while a message is treated, so a handler may let go of it.
class InPlaceWindow {
 public:
  InPlaceWindow(IUnknown& control, WindowsControlWindow& port, WindowOwner& owner)
      : m_control(control), m_port(port), m_owner(owner) {}
  ~InPlaceWindow() { Destroy(); }

  InPlaceWindow(const InPlaceWindow&) = delete;
  InPlaceWindow& operator=(const InPlaceWindow&) = delete;

  /// Makes the window; false, with the system's last error set, when that fails.
  [[nodiscard]] bool Create(HWND parent, const RECT& position);
  void Destroy();

  /// Puts it where the container says, with only `clip` of it to be seen.
  void Place(const RECT& position, const RECT& clip);

  /// Null while there is none.
  [[nodiscard]] HWND Handle() const { return m_window; }

  /// Removes the window class: for the module's end, when no window is left.
  static void ForgetClass();

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT Treat(UINT message, WPARAM wParam, LPARAM lParam);
  void Paint();

  IUnknown& m_control;
  WindowsControlWindow& m_port;
  WindowOwner& m_owner;
  HWND m_window = nullptr;
};

}  // namespace tlk
