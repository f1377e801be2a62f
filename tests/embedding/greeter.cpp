#include <windows.h>

#include <ocidl.h>
#include <ole2.h>

#include <cstdio>
#include <cstdlib>

#include <TlkC2.h>  // made from TlkC2.idl: ITlkc, _ITlkcEvents and their ids

// Hears the control's events. It lives longer than the control here, so it counts no references.
class Sink final : public IDispatch {
 public:
  bool hasMessage = false;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    const bool known = iid == IID_IUnknown || iid == IID_IDispatch || iid == DIID__ITlkcEvents;
    *object = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }

  STDMETHODIMP Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    // Arguments come in reverse order.
    // Not on standard output: the control echoes its trace log there.
    if (event == 1) std::fprintf(stderr, "status %ld\n", arguments->rgvarg[0].lVal);
    if (event == 2) {
      std::fprintf(stderr, "message %ls: %ls\n", arguments->rgvarg[1].bstrVal,
                   arguments->rgvarg[0].bstrVal);
      hasMessage = true;
    }
    return S_OK;
  }
};

// The system's control container, in atl.dll; with Visual C++, <atlhost.h> declares the same.
template <typename Function>
Function FromAtl(const char* name) {
  return reinterpret_cast<Function>(
      reinterpret_cast<void (*)()>(GetProcAddress(LoadLibraryW(L"atl.dll"), name)));
}

HWND MakeContainer(const wchar_t* control, IUnknown** made) {
  FromAtl<BOOL(WINAPI*)()>("AtlAxWinInit")();
  const HWND window = CreateWindowW(L"AtlAxWin", control, WS_POPUP, 0, 0, 200, 100, nullptr,
                                    nullptr, GetModuleHandleW(nullptr), nullptr);
  if (window != nullptr) {
    FromAtl<HRESULT(WINAPI*)(HWND, IUnknown**)>("AtlAxGetControl")(window, made);
  }
  return window;
}

int main(int argc, char** argv) {
  OleInitialize(nullptr);
  IUnknown* unknown = nullptr;
  const HWND container = MakeContainer(L"TlkC2.Tlkc", &unknown);
  ITlkc* control = nullptr;
  if (unknown == nullptr ||
      FAILED(unknown->QueryInterface(IID_ITlkc, reinterpret_cast<void**>(&control)))) {
    std::fputs("no control\n", stderr);
    return 1;
  }

  Sink sink;
  IConnectionPointContainer* points = nullptr;
  IConnectionPoint* point = nullptr;
  DWORD cookie = 0;
  control->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&points));
  points->FindConnectionPoint(DIID__ITlkcEvents, &point);
  point->Advise(&sink, &cookie);

  const BSTR server = SysAllocString(L"127.0.0.1");
  const BSTR type = SysAllocString(L"Greeting");
  const BSTR data = SysAllocString(L"<Text>Good morning</Text>");
  long connected = 0;
  control->Connect(server, argc > 1 ? std::atoi(argv[1]) : 1371, &connected);
  control->SendTLKMsg(type, data);

  // Events arrive while messages of the thread are dispatched.
  MSG message;
  while (connected && !sink.hasMessage && GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  control->Disconnect();

  point->Unadvise(cookie);
  SysFreeString(server);
  SysFreeString(type);
  SysFreeString(data);
  point->Release();
  points->Release();
  control->Release();
  unknown->Release();
  DestroyWindow(container);
  OleUninitialize();
  return 0;
}
