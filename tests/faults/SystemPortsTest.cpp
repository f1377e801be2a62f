// Memory runs out under a control on the system's own sockets, timers and loop.

#include <pugixml.hpp>
#include <vector>

#include "control/NativeControl.h"
#include "tests/control/ControlFixture.h"
#include "tests/log/LogFixture.h"
#include "tests/platform/posix/LoopbackPeer.h"
#include "tests/scripted/ScarceMemory.h"
#include "tools/tlk/SilentLog.h"

namespace tlk::test {
namespace {

/// A control that is soon idle, in a loop of its own, and its host.
class System final : public ITlkcEvents {
 public:
  void ConnStatusChanged(TLK_ConnStatusEnum status) override { announced = status; }
  void TlkMsgRecieved(std::u16string_view, std::u16string_view) override { ++messages; }

  bool Connect(const LoopbackPeer& peer) {
    std::int32_t value = 0;
    control.Connect(u"127.0.0.1", ntohs(peer.Address().port), &value);
    return value == 1;
  }
  bool IsConnected() const { return control.m_status == TLK_Connected; }

  TLK_ConnStatusEnum announced = TLK_Not_Connected;
  int messages = 0;
  SilentLog log;
  SystemDomFactory dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};
  MessageLoop loop;
  MessageWindow window{loop};
  OpenControl control{{loop.GetSockets(), window, SystemPlatform(), dom, gate, log}, *this};
};

class SystemPorts : public testing::TestWithParam<int> {
 protected:
  // Nobody reads what is sent here, so most of it stays behind the port, even when it is closed.
  void LeaveUnread(Sockets& sockets, ControlWindow& window) {
    LoopbackPeer peer;
    static const std::string much(std::size_t{6} << 20, 'x');
    const SocketHandle socket = sockets.Open();
    ASSERT_EQ(sockets.Connect(socket, peer.Address()), 0);
    Within(m_limit, [&] {
      if (sockets.RequestNotifications(socket, window, 1, socket_event::kAll) == 0)
        static_cast<void>(sockets.Send(socket, much));
      sockets.Close(socket);
    });
  }

  // The host gets four messages, or is told that something failed.
  bool Converse(System& system) {
    LoopbackPeer peer;
    if (!Within(m_limit, [&] { return system.Connect(peer); })) return false;
    peer.Accept();
    for (const char* const type : {"One", "Two", "Three"}) peer.Send(Frame(type, "<Data/>"));
    const auto result = Within(m_limit, [&] {
      for (int i = 0; i < 9; ++i) system.loop.DispatchOnce(1);
      return system.control.SendTLKMsg(u"Chat", u"<a/>");
    });
    if (result != kResultOk || !system.IsConnected()) return false;
    peer.Send(Frame("Reply", "<Data/>") + Frame("Four", "<Data/>"));
    std::u16string reply;
    Within(m_limit,
           [&] { return system.control.SendReceiveTlkMsg(u"Ask", u"", &reply, &reply, 1000); });
    return system.IsConnected();
  }

  void CheckThatItGoesOn(System& system) {
    system.messages = 0;
    LoopbackPeer peer;
    ASSERT_TRUE(system.Connect(peer));
    peer.Accept();
    system.control.SendTLKMsg(u"Later", u"");
    peer.Send(Frame("New", "<Data/>"));
    EXPECT_TRUE(Eventually([&] { return system.loop.DispatchOnce(1), system.messages == 1; }));
    EXPECT_THAT(peer.ReadSome(100000), testing::HasSubstr("Type=\"Later\""));
    system.control.Disconnect();
  }

  MemoryLimit m_limit;
};

TEST_P(SystemPorts, LoseNothingSilentlyWhenMemoryRunsOut) {
  pugi::set_memory_management_functions(AllocateScarce, FreeScarce);
  bool hasRefused = true;
  int allowed = -1;  // As many as it likes: that makes what stays for ever.
  long before = 0;
  for (; hasRefused && !HasFailure(); ++allowed) {
    SCOPED_TRACE(allowed);
    if (allowed == 0) before = LiveAllocations();
    m_limit.Set(allowed, GetParam());
    std::unique_ptr<System> system;
    try {
      Within(m_limit, [&] { system = std::make_unique<System>(); });
    } catch (const std::bad_alloc&) {
      continue;
    }
    system->control.m_keepAliveIntervalMs = 1;
    const bool wentWell = Converse(*system);
    LeaveUnread(system->loop.GetSockets(), system->window);
    hasRefused = m_limit.hasRefused || allowed < 0;
    m_limit.Set(-1, 0);
    EXPECT_TRUE(Eventually([&] { return system->loop.DispatchOnce(1), !system->IsConnected(); }));
    EXPECT_TRUE(!wentWell || system->messages == 4);
    EXPECT_EQ(system->announced, system->control.m_status);
    CheckThatItGoesOn(*system);
    system.reset();
    EXPECT_TRUE(allowed < 0 || LiveAllocations() == before);
  }
  EXPECT_GT(allowed, 50);
}

INSTANTIATE_TEST_SUITE_P(Refused, SystemPorts, testing::Values(1, kEveryTime));

}  // namespace
}  // namespace tlk::test
