#include <algorithm>
#include <memory>

#include "tests/com/ContainerFixture.h"

namespace tlk {

using EventsTest = ContainerTest;

TEST_F(EventsTest, ConnectionPointsKeepTheirSinks) {
  const auto container = m_embedded.As<IConnectionPointContainer>();
  const auto events = m_embedded.Events();
  ComPtr<IEnumConnectionPoints> points;
  ComPtr<IConnectionPoint> point;
  ASSERT_EQ(container->EnumConnectionPoints(points.Put()), S_OK);
  const DWORD first = m_embedded.Advise(m_listener);
  IID id{};
  DWORD none = 1;
  const std::pair<HRESULT, HRESULT> calls[] = {
      {points->Skip(1), S_OK},
      {points->Next(1, point.Put(), nullptr), S_OK},
      {point->GetConnectionInterface(&id), S_OK},
      {points->Next(1, point.Put(), nullptr), S_FALSE},
      {points->Reset(), S_OK},
      {points->Skip(3), S_FALSE},
      {container->FindConnectionPoint(IID_IDispatch, point.Put()), CONNECT_E_NOCONNECTION},
      {m_embedded.Advise(m_listener) == first, FALSE},
      {events->Unadvise(first), S_OK},
      {events->Unadvise(first), CONNECT_E_NOCONNECTION},
      {m_embedded.Advise(m_listener) == first, FALSE},
      {events->Advise(m_embedded.control.Get(), &none), CONNECT_E_CANNOTCONNECT}};
  for (int row = 1; const auto& [result, expected] : calls) EXPECT_EQ(result, expected) << row++;
  EXPECT_TRUE(id == IID_IPropertyNotifySink && none == 0);
}

TEST_F(EventsTest, SinksMayComeAndGoInsideAnEvent) {
  // Which goes inside the first event of the second, whether one comes there, and how often each
  // hears of two events.
  const std::tuple<int, bool, const char*> cases[] = {{1, false, "2120"}, {0, false, "1220"},
                                                      {2, false, "2200"}, {2, true, "2202"},
                                                      {-1, true, "2221"}, {-1, false, "2220"}};
  for (const auto& [goes, comes, heard] : cases) {
    Site sinks[4];
    const Embedded embedded(m_module);
    DWORD cookies[3];
    for (std::size_t i = 0; i < 3; ++i) cookies[i] = embedded.Advise(sinks[i]);
    sinks[0].awaited = sinks[1].awaited = "status 0";
    sinks[0].answer = E_FAIL;
    sinks[1].during = [&, gone = goes, isNew = comes] {
      EXPECT_EQ(embedded.control->Disconnect(), S_OK) << "an event in the event is not raised";
      EXPECT_EQ(gone < 0 ? S_OK : embedded.Events()->Unadvise(cookies[gone]), S_OK);
      if (isNew) embedded.Advise(sinks[3]);
    };
    for (int i = 0; i < 2; ++i) EXPECT_EQ(embedded.control->Disconnect(), S_OK);
    std::string times;
    for (const auto& sink : sinks) times += std::to_string(std::ranges::count(sink.calls, '0'));
    EXPECT_EQ(times, heard) << goes << comes;
  }
}

// A handler that lets go of the control is in a conversation (destroy-in-events).
TEST_F(EventsTest, AHandlerMayEndWhatItIsIn) {
  auto another = std::make_unique<Embedded>(m_module);
  const std::pair<std::function<void()>, std::string> cases[] = {
      {[&] { m_embedded.control->Disconnect(); }, " status 0"},
      {[&] { m_embedded.As<IOleInPlaceObject>()->InPlaceDeactivate(); }, " Two <Data/>"},
      {[&] { DestroyWindow(m_embedded.Window()); }, " Two <Data/>"},
      {[&] { another = nullptr; }, " Two <Data/>"}};
  m_embedded.Advise(m_listener);
  EXPECT_EQ(m_embedded.As<IOleControl>()->FreezeEvents(TRUE), S_OK) << "which it does not do";
  for (const auto& [act, heard] : cases) {
    LoopbackPeer peer;
    m_embedded.Connect(peer);
    m_listener.calls.clear();
    m_listener.awaited = "One <Data/>";
    m_listener.during = act;
    peer.Send(ServerMessage("One") + ServerMessage("Two"));
    EXPECT_TRUE(PumpUntil([&] { return m_listener.calls.size() > 10; }));
    EXPECT_EQ(m_embedded.Do(OLEIVERB_SHOW), S_OK);
    const std::string all = "One <Data/>" + heard;
    EXPECT_TRUE(PumpUntil([&] { return m_listener.calls == all; }));
    m_embedded.control->Disconnect();
  }
}

}  // namespace tlk
