#pragma once

#include <ole2.h>

#include <string>

#include "platform/windows/ComPtr.h"

namespace tlk::host {

/// A window of the system's OLE container with one control in it, activated in place.
class Container {
 public:
  /// Makes the control with that name; throws ComFailure. A container that is not visible has real
  /// windows all the same.
  Container(const std::wstring& className, bool visible);

  /// Closes the control.
  ~Container();

  Container(const Container&) = delete;
  Container& operator=(const Container&) = delete;

  [[nodiscard]] const ComPtr<IUnknown>& Control() const { return m_control; }

 private:
  void Show() const;

  struct Window {
    explicit Window(bool visible);
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    HWND handle;
  };

  Window m_window;
  ComPtr<IUnknown> m_control;
};

}  // namespace tlk::host
