#include "com/InPlaceWindow.h"

#include <utility>

#include "com/Face.h"
#include "com/Module.h"
#include "platform/windows/ComPtr.h"

namespace tlk {
namespace {

constexpr DWORD kStyle = WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN;
constexpr const wchar_t* kClassName = L"TlkC2.Tlkc";

void RegisterWindowClass(WNDPROC procedure) {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof windowClass;
  windowClass.style = CS_DBLCLKS;
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = Module::Get().Instance();
  windowClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<const wchar_t*>(IDC_ARROW));
  windowClass.hbrBackground = GetSysColorBrush(COLOR_WINDOW);
  windowClass.lpszClassName = kClassName;
  // Fails when the class is registered already, which does no harm.
  RegisterClassExW(&windowClass);
}

int Width(const RECT& area) { return area.right - area.left; }
int Height(const RECT& area) { return area.bottom - area.top; }

}  // namespace

bool InPlaceWindow::Create(HWND parent, const RECT& position) {
  RegisterWindowClass(&InPlaceWindow::Procedure);
  m_window =
      CreateWindowExW(0, kClassName, L"", kStyle, position.left, position.top, Width(position),
                      Height(position), parent, nullptr, Module::Get().Instance(), this);
  return m_window != nullptr;
}

void InPlaceWindow::Destroy() {
  const HWND window = std::exchange(m_window, nullptr);
  if (window == nullptr) return;
  m_port.Detach();
  // The messages of its end must not reach the control, which may be in its own destructor.
  SetWindowLongPtrW(window, GWLP_USERDATA, 0);
  DestroyWindow(window);
}

void InPlaceWindow::Place(const RECT& position, const RECT& clip) {
  RECT seen{};
  const bool isSeen = IntersectRect(&seen, &position, &clip) != FALSE;
  HRGN region = nullptr;
  if (!isSeen || !EqualRect(&seen, &position)) {
    OffsetRect(&seen, -position.left, -position.top);
    region = isSeen ? CreateRectRgnIndirect(&seen) : CreateRectRgn(0, 0, 0, 0);
  }
  SetWindowRgn(m_window, region, TRUE);  // The system owns the region from here on.
  SetWindowPos(m_window, nullptr, position.left, position.top, Width(position), Height(position),
               SWP_NOZORDER | SWP_NOACTIVATE);
}

void InPlaceWindow::ForgetClass() { UnregisterClassW(kClassName, Module::Get().Instance()); }

LRESULT CALLBACK InPlaceWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    auto* const made = reinterpret_cast<CREATESTRUCTW*>(lParam);
    auto* const created = static_cast<InPlaceWindow*>(made->lpCreateParams);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(created));
    created->m_window = window;
    created->m_port.Attach(window);
  }
  auto* const self = reinterpret_cast<InPlaceWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self == nullptr) return DefWindowProcW(window, message, wParam, lParam);
  const ComPtr<IUnknown> control(&self->m_control);
  return self->Treat(message, wParam, lParam);
}

// Messages that a container sends back to its controls (OCM_...) go to the system's own procedure,
// like all that are not named here.
LRESULT InPlaceWindow::Treat(UINT message, WPARAM wParam, LPARAM lParam) {
  const HWND window = m_window;
  LRESULT result = 0;
  switch (message) {
    case WM_PAINT:
      Paint();
      return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      m_owner.OnFocus(message == WM_SETFOCUS);
      break;
    case WM_MOUSEACTIVATE:
      m_owner.OnUsed();
      break;
    case WM_NCDESTROY:
      // The container's window was destroyed, and with it this one, without a call of Destroy.
      m_port.Detach();
      m_window = nullptr;
      SetWindowLongPtrW(window, GWLP_USERDATA, 0);
      break;
    default:
      if (m_port.Dispatch(message, wParam, lParam, result)) return result;
      break;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

void InPlaceWindow::Paint() {
  PAINTSTRUCT painting{};
  const HDC device = BeginPaint(m_window, &painting);
  if (device == nullptr) return;
  RECT bounds{};
  GetClientRect(m_window, &bounds);
  DrawFace(device, bounds);
  EndPaint(m_window, &painting);
}

}  // namespace tlk
