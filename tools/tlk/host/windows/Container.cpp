#include "tools/tlk/host/windows/Container.h"

#include "tools/tlk/host/windows/ComFailure.h"

namespace tlk::host {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 200;

/// The container library of the system. The window class that it registers needs its code, so it
/// stays loaded.
class ContainerLibrary {
 public:
  ContainerLibrary() {
    const HMODULE library = LoadLibraryExW(L"atl.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library == nullptr) throw ComFailure("atl.dll", LastError());
    BOOL(WINAPI * initialise)() = nullptr;
    Find(library, "AtlAxWinInit", initialise);
    Find(library, "AtlAxCreateControlEx", create);
    if (!initialise()) throw ComFailure("AtlAxWinInit", LastError());
  }

  HRESULT(WINAPI* create)
  (LPCOLESTR name, HWND window, IStream* stream, IUnknown** container, IUnknown** control,
   REFIID events, IUnknown* sink) = nullptr;

 private:
  template <typename Function>
  static void Find(HMODULE library, const char* name, Function& function) {
    function =
        reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
    if (function == nullptr) throw ComFailure(name, LastError());
  }
};

const ContainerLibrary& Library() {
  static const ContainerLibrary library;
  return library;
}

}  // namespace

Container::Container(const std::wstring& className, bool visible) : m_window(visible) {
  ComPtr<IUnknown> host;
  Check(Library().create(className.c_str(), m_window.handle, nullptr, host.Put(), m_control.Put(),
                         IID_NULL, nullptr),
        "the control");
  if (!m_control) throw ComFailure("the control", E_NOINTERFACE);
  if (GetWindow(m_window.handle, GW_CHILD) == nullptr) {
    throw ComFailure("activating the control in its container", OLE_E_NOT_INPLACEACTIVE);
  }
  if (visible) Show();
}

Container::~Container() = default;

// The text of a new container's window would be taken for the name of a control, so it is set now.
void Container::Show() const {
  SetWindowTextW(m_window.handle, L"tlk host");
  ShowWindow(m_window.handle, SW_SHOWNORMAL);
  UpdateWindow(m_window.handle);
}

Container::Window::Window(bool visible) {
  Library();
  const DWORD style = visible ? WS_OVERLAPPEDWINDOW : WS_POPUP;
  handle =
      CreateWindowExW(0, L"AtlAxWin", L"", style | WS_CLIPCHILDREN, CW_USEDEFAULT, CW_USEDEFAULT,
                      kWidth, kHeight, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
  if (handle == nullptr) throw ComFailure("the container's window", LastError());
  // A control ends by a command, not by the window's close box.
  if (visible) DeleteMenu(GetSystemMenu(handle, FALSE), SC_CLOSE, MF_BYCOMMAND);
}

Container::Window::~Window() { DestroyWindow(handle); }

}  // namespace tlk::host
