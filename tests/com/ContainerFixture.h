#pragma once

#include "tests/platform/windows/LoopbackPeer.h"

#include <TlkC2.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/com/EventListener.h"
#include "tests/com/ModuleFile.h"
#include "tests/com/Site.h"

namespace tlk {

/// Treats the thread's messages until the condition holds; false when it takes ten seconds.
inline bool PumpUntil(const std::function<bool()>& holds) {
  const ULONGLONG end = GetTickCount64() + 10000;
  while (!holds()) {
    if (GetTickCount64() > end) return false;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) DispatchMessageW(&message);
  }
  return true;
}

/// A control, plain or as a part of `outer`.
inline ComPtr<IUnknown> Create(const LoadedModule& module, IUnknown* outer = nullptr) {
  ComPtr<IClassFactory> factory;
  ComPtr<IUnknown> made;
  EXPECT_EQ(module.GetClassObject(CLSID_Tlkc, IID_IClassFactory, factory.PutVoid()), S_OK);
  EXPECT_EQ(factory->CreateInstance(outer, IID_IUnknown, made.PutVoid()), S_OK);
  return made;
}

/// A control on a site of its own.
struct Embedded {
  Embedded(const LoadedModule& module, HWND window) : site(window) {
    EXPECT_EQ(Create(module).QueryTo(control), S_OK);
    EXPECT_EQ(As<IPersistStreamInit>()->InitNew(), S_OK);
    EXPECT_EQ(As<IOleObject>()->SetClientSite(&site), S_OK);
  }
  ~Embedded() {
    if (control) Leave();
    EXPECT_EQ(site.References(), 1U);
    EXPECT_FALSE(site.Active());
  }

  /// Destroys the container's side: closes the control and lets go of it.
  void Leave() {
    const auto object = As<IOleObject>();
    control = nullptr;
    EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
    EXPECT_EQ(object->SetClientSite(nullptr), S_OK);
  }
  template <typename Interface>
  [[nodiscard]] ComPtr<Interface> As() const {
    ComPtr<Interface> other;
    EXPECT_EQ(control.QueryTo(other), S_OK);
    return other;
  }
  [[nodiscard]] HRESULT Do(LONG verb) {
    return As<IOleObject>()->DoVerb(verb, nullptr, &site, 0, nullptr, nullptr);
  }

  /// The control's window; null while there is none.
  [[nodiscard]] HWND Window() const {
    HWND window = nullptr;
    return SUCCEEDED(As<IOleInPlaceObject>()->GetWindow(&window)) ? window : nullptr;
  }

  [[nodiscard]] ComPtr<IConnectionPoint> Events() const {
    ComPtr<IConnectionPoint> point;
    const auto container = As<IConnectionPointContainer>();
    EXPECT_EQ(container->FindConnectionPoint(DIID__ITlkcEvents, point.Put()), S_OK);
    return point;
  }
  DWORD Advise(EventListener& listener) const {
    DWORD cookie = 0;
    EXPECT_EQ(Events()->Advise(&listener, &cookie), S_OK);
    return cookie;
  }

  [[nodiscard]] long ConnectTo(const LoopbackPeer& peer) const {
    const Bstr server(L"127.0.0.1");
    long connected = 7;
    EXPECT_EQ(control->Connect(server.Get(), ntohs(peer.Address().port), &connected), S_OK);
    return connected;
  }
  void Connect(LoopbackPeer& peer) {
    EXPECT_EQ(Do(OLEIVERB_INPLACEACTIVATE), S_OK);
    EXPECT_EQ(ConnectTo(peer), 1);
    peer.Accept();
  }

  Site site;
  ComPtr<ITlkc> control;
};

/// A whole message of the server.
inline std::string ServerMessage(const std::string& type) {
  std::string text = "<TLK_Message Length=\"0000000\" xmlns=\"\" Type=\"" + type +
                     "\"><From Id=\"0\"/><To Id=\"7\"/><Data/></TLK_Message>";
  const std::string length = std::to_string(text.size());
  return text.replace(28 - length.size(), length.size(), length);
}

/// A control of the module that lies beside the test, in a window. In the end nothing holds the
/// module.
class ContainerTest : public testing::Test {
 protected:
  struct CountedModule : LoadedModule {
    ~CountedModule() { EXPECT_EQ(Call("DllCanUnloadNow"), S_OK); }
  };
  struct Window {
    ~Window() { DestroyWindow(handle); }
    operator HWND() const { return handle; }
    const HWND handle = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 400, 300, nullptr,
                                        nullptr, GetModuleHandleW(nullptr), nullptr);
  };

  // Where a module that is loaded afterwards keeps its trace log.
  const BOOL m_temporary = SetEnvironmentVariableW(L"TMP", FileBesideTest(L"").c_str());
  const Apartment m_apartment;
  const CountedModule m_module{};
  const Window m_window{};
  EventListener m_listener;
  Embedded m_embedded{m_module, m_window};
};

}  // namespace tlk
