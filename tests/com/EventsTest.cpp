#include "tests/com/ContainerFixture.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <memory>

namespace tlk {
namespace {

class EventsTest : public EmbeddedTest {
 protected:
  /// Whether the control has closed its end.
  static bool IsAtEnd(LoopbackPeer& peer) {
    return PumpUntil(
        [&] { return peer.ReadSome(1000).empty() && WSAGetLastError() != WSAEWOULDBLOCK; });
  }
};

TEST_F(EventsTest, ConnectionPointsKeepTheirSinks) {
  const auto container = m_embedded.As<IConnectionPointContainer>();
  ComPtr<IEnumConnectionPoints> points;
  ComPtr<IConnectionPoint> point;
  ASSERT_EQ(container->EnumConnectionPoints(points.Put()), S_OK);
  for (const IID& expected : {DIID__ITlkcEvents, IID_IPropertyNotifySink}) {
    IID id{};
    ComPtr<IConnectionPoint> found;
    ASSERT_EQ(points->Next(1, point.Put(), nullptr), S_OK);
    EXPECT_EQ(point->GetConnectionInterface(&id), S_OK);
    EXPECT_EQ(container->FindConnectionPoint(expected, found.Put()), S_OK);
    EXPECT_TRUE(id == expected && found.Get() == point.Get());
  }
  EXPECT_EQ(points->Next(1, point.Put(), nullptr), S_FALSE);
  EXPECT_EQ(container->FindConnectionPoint(IID_IDispatch, point.Put()), CONNECT_E_NOCONNECTION);

  const auto events = m_embedded.Events();
  const DWORD cookies[] = {m_embedded.Advise(m_listener), m_embedded.Advise(m_listener)};
  EXPECT_EQ(events->Unadvise(cookies[0]), S_OK);
  EXPECT_EQ(events->Unadvise(cookies[0]), CONNECT_E_NOCONNECTION);
  const DWORD again = m_embedded.Advise(m_listener);
  EXPECT_TRUE(cookies[1] != cookies[0] && again != cookies[0] && again != cookies[1]);
  DWORD none = 1;
  EXPECT_EQ(events->Advise(m_embedded.control.Get(), &none), CONNECT_E_CANNOTCONNECT);
  EXPECT_EQ(none, 0U);
  ComPtr<IEnumConnections> all;
  CONNECTDATA taken{};
  ASSERT_EQ(events->EnumConnections(all.Put()), S_OK);
  ASSERT_TRUE(all->Skip(1) == S_OK && all->Next(1, &taken, nullptr) == S_OK);
  EXPECT_TRUE(taken.dwCookie == cookies[1] && taken.pUnk == &m_listener);
  taken.pUnk->Release();
}

/// A control with three sinks and one more to come.
struct Scene {
  Scene(const LoadedModule& module, HWND window) : embedded(module, window) {
    for (std::size_t i = 0; i < 3; ++i) Add(i);
  }
  void Drop(std::size_t i) { EXPECT_EQ(embedded.Events()->Unadvise(cookies[i]), S_OK); }
  void Add(std::size_t i) { cookies[i] = embedded.Advise(listeners[i]); }

  std::array<EventListener, 4> listeners;
  std::array<DWORD, 4> cookies{};
  Embedded embedded;
};

TEST_F(EventsTest, SinksMayComeAndGoInsideAnEvent) {
  const struct {
    const char* name;
    void (*act)(Scene& scene);  // inside the first event of the second sink
    const char* heard;          // how often each, in two events
  } cases[] = {{"itself goes", [](Scene& s) { s.Drop(1); }, "2120"},
               {"the one before goes", [](Scene& s) { s.Drop(0); }, "1220"},
               {"the next goes", [](Scene& s) { s.Drop(2); }, "2200"},
               {"a new one comes", [](Scene& s) { s.Add(3); }, "2221"},
               {"one comes for the next", [](Scene& s) { s.Drop(2), s.Add(3); }, "2202"},
               {"an event in it", [](Scene& s) { s.embedded.control->Disconnect(); }, "2220"},
               {"the control goes", [](Scene& s) { s.embedded.Leave(); }, "1110"}};
  for (const auto& [name, act, heard] : cases) {
    Scene scene(m_module, m_window);
    scene.listeners[0].answer = E_FAIL;
    scene.listeners[1].during = [&, &action = act] { action(scene); };
    for (int i = 0; i < 2 && scene.embedded.control; ++i) scene.embedded.control->Disconnect();
    if (scene.embedded.control) scene.embedded.Leave();
    std::string times;
    for (const EventListener& listener : scene.listeners) {
      times += std::to_string(std::ranges::count(listener.heard, '0'));
      EXPECT_EQ(listener.References(), 1U) << name;
    }
    EXPECT_EQ(times, heard) << name;
  }
}

TEST_F(EventsTest, AHandlerMayEndItAll) {
  const struct {
    const char* name;
    void (*act)(Embedded& embedded);
    std::string heard;
  } cases[] = {
      {"disconnects", [](Embedded& e) { e.control->Disconnect(); }, "status 0;"},
      {"deactivates", [](Embedded& e) { e.As<IOleInPlaceObject>()->InPlaceDeactivate(); }, ""},
      {"destroys the window", [](Embedded& e) { DestroyWindow(e.Window()); }, ""},
      {"destroys the container", [](Embedded& e) { e.Leave(); }, ""}};
  for (const auto& [name, act, heard] : cases) {
    LoopbackPeer peer;
    Embedded embedded(m_module, m_window);
    embedded.Advise(m_listener);
    embedded.Connect(peer);
    m_listener.during = [&, &action = act] { action(embedded); };
    m_listener.heard.clear();
    peer.Send(ServerMessage("One") + ServerMessage("Two"));
    EXPECT_TRUE(PumpUntil([&] { return !m_listener.during; })) << name;
    EXPECT_EQ(m_listener.heard, "One <Data/>;" + heard) << name;
    if (embedded.control) embedded.Leave();
    EXPECT_TRUE(IsAtEnd(peer)) << name;
  }
}

TEST_F(EventsTest, AControlMayGoInsideAnEventOfAnother) {
  std::array<LoopbackPeer, 10> peers;
  std::array<EventListener, 10> listeners;
  std::array<std::unique_ptr<Embedded>, 10> controls;
  for (std::size_t i = 0; i < controls.size(); ++i) {
    controls[i] = std::make_unique<Embedded>(m_module, m_window);
    controls[i]->Advise(listeners[i]);
    controls[i]->Connect(peers[i]);
  }
  for (std::size_t i = 0; i < controls.size(); i += 2) {
    listeners[i].during = [&, i] { controls[i + 1] = nullptr; };
    peers[i].Send(ServerMessage(std::to_string(i)));
  }
  EXPECT_TRUE(
      PumpUntil([&] { return std::count(controls.begin(), controls.end(), nullptr) == 5; }));
  for (std::size_t i = 0; i < controls.size(); i += 2) {
    EXPECT_EQ(listeners[i].heard, "status 3;" + std::to_string(i) + " <Data/>;");
    EXPECT_EQ(listeners[i + 1].heard, "status 3;");
    EXPECT_TRUE(IsAtEnd(peers[i + 1]));
    EXPECT_FALSE(peers[i].ReadSome(1).size() == 0 && WSAGetLastError() != WSAEWOULDBLOCK);
  }
}

TEST_F(EventsTest, AConnectionOutlivesTheWindow) {
  constexpr UINT_PTR kKeepAliveTimer = 0x52ED92;
  LoopbackPeer peer;
  m_embedded.Advise(m_listener);
  m_embedded.Connect(peer);
  for (const bool properly : {true, false}) {
    m_listener.heard.clear();
    properly ? m_embedded.As<IOleInPlaceObject>()->InPlaceDeactivate()
             : DestroyWindow(m_embedded.Window());
    ASSERT_EQ(m_embedded.Window(), nullptr);
    peer.Send(ServerMessage("Late"));
    ASSERT_EQ(m_embedded.Do(OLEIVERB_SHOW), S_OK);
    EXPECT_NE(KillTimer(m_embedded.Window(), kKeepAliveTimer), FALSE);
    EXPECT_TRUE(PumpUntil([&] { return !m_listener.heard.empty(); }));
    EXPECT_EQ(m_listener.heard, "Late <Data/>;");
  }
  std::string sent;
  SendMessageW(m_embedded.Window(), WM_TIMER, kKeepAliveTimer, 0);
  EXPECT_TRUE(PumpUntil([&] { return !(sent = peer.ReadSome(1000)).empty(); }));
  EXPECT_NE(sent.find("Type=\"Keep Connection Alive\""), sent.npos) << sent;
}

TEST_F(EventsTest, AConnectionFailsWithoutAWindowToNotify) {
  const std::wstring logFile = FileBesideTest(L"TLK_Client.log");
  DeleteFileW(logFile.c_str());
  const LoopbackPeer peer;
  m_embedded.Advise(m_listener);
  EXPECT_EQ(m_embedded.ConnectTo(peer), 0);
  EXPECT_EQ(m_listener.heard, "status 0;");
  std::string log;
  EXPECT_TRUE(PumpUntil([&] {
    std::ifstream file(logFile.c_str());
    log = {std::istreambuf_iterator<char>(file), {}};
    return log.find("E Async Select failed. Err num = 10022 (Tlkc - 207)") != log.npos;
  })) << log;
}

}  // namespace
}  // namespace tlk
