#pragma once

#include "tests/platform/windows/LoopbackPeer.h"

#include <functional>
#include <string>

#include "platform/windows/Bstr.h"
#include "tests/com/LoadedModule.h"
#include "tests/com/Site.h"
#include "tests/scripted/Eventually.h"

namespace tlk {

/// Treats the thread's messages until the condition holds; false when it takes ten seconds.
inline bool PumpUntil(const std::function<bool()>& holds) {
  return test::Eventually([&] {
    if (holds()) return true;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) DispatchMessageW(&message);
    return false;
  });
}

/// A control on a site of its own.
struct Embedded {
  explicit Embedded(const LoadedModule& module) {
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
  DWORD Advise(Site& listener) const {
    DWORD cookie = 0;
    EXPECT_EQ(Events()->Advise(static_cast<_ITlkcEvents*>(&listener), &cookie), S_OK);
    return cookie;
  }

  void Connect(LoopbackPeer& peer) {
    EXPECT_EQ(Do(OLEIVERB_INPLACEACTIVATE), S_OK);
    const Bstr server(L"127.0.0.1");
    long connected = 7;
    EXPECT_EQ(control->Connect(server.Get(), ntohs(peer.Address().port), &connected), S_OK);
    EXPECT_EQ(connected, 1);
    peer.Accept();
  }

  Site site;
  ComPtr<ITlkc> control;
};

/// A whole message of the server, with a type of three letters and an empty body.
inline std::string ServerMessage(const std::string& type) {
  return R"(<TLK_Message Length="0000097" xmlns="" Type=")" + type +
         R"("><From Id="0"/><To Id="7"/><Data/></TLK_Message>)";
}

/// A control of the module that lies beside the test, in a window, and a sink of its events.
struct ContainerTest : testing::Test {
  // Where a module that is loaded afterwards keeps its trace log.
  const BOOL m_temporary = SetEnvironmentVariableW(L"TMP", FileBesideTest("").c_str());
  const LoadedModule m_module;
  Site m_listener;
  Embedded m_embedded{m_module};
};

}  // namespace tlk
