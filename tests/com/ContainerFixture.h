#pragma once

#include "tests/platform/windows/LoopbackPeer.h"

#include <functional>
#include <string>

#include "platform/windows/Bstr.h"
#include "tests/com/EventListener.h"
#include "tests/com/LoadedModule.h"
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

/// A control on a site of its own.
struct Embedded {
  Embedded(const LoadedModule& module, HWND window) : site(window) {
    EXPECT_EQ(module.Create().QueryTo(control), S_OK);
    EXPECT_EQ(As<IPersistStreamInit>()->InitNew(), S_OK);
    EXPECT_EQ(As<IOleObject>()->SetClientSite(&site), S_OK);
  }
  ~Embedded() {
    if (control) Leave();
    EXPECT_FALSE(site.active);
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

/// A whole message of the server, with an empty body.
inline std::string ServerMessage(const std::string& type) {
  const std::string text =
      "\" xmlns=\"\" Type=\"" + type + "\"><From Id=\"0\"/><To Id=\"7\"/><Data/></TLK_Message>";
  const std::string length = std::to_string(28 + text.size());
  return "<TLK_Message Length=\"" + std::string(7 - length.size(), '0') + length + text;
}

/// A control of the module that lies beside the test, in a window.
class ContainerTest : public testing::Test {
 protected:
  /// The container's, for all tests.
  static inline const HWND m_window = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 400, 300,
                                                      nullptr, nullptr, nullptr, nullptr);

  // Where a module that is loaded afterwards keeps its trace log.
  const BOOL m_temporary = SetEnvironmentVariableW(L"TMP", FileBesideTest(L"").c_str());
  const Apartment m_apartment;
  const LoadedModule m_module{};
  EventListener m_listener;
  Embedded m_embedded{m_module, m_window};
};

}  // namespace tlk
