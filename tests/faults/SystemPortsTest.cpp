// Memory runs out under a control on the system's own sockets, timers and loop.

#include <pugixml.hpp>

#include "control/NativeControl.h"
#include "platform/posix/MessageWindow.h"
#include "tests/control/ControlFixture.h"
#include "tests/log/LogFixture.h"
#include "tests/platform/posix/LoopbackPeer.h"
#include "tests/scripted/ScarceMemory.h"
#include "tools/tlk/wire/SilentLog.h"

namespace tlk::test {
namespace {

/// A control that is soon idle, in a loop of its own, and its host.
struct System final : ITlkcEvents {
  void ConnStatusChanged(TLK_ConnStatusEnum status) override { announced = status; }
  void TlkMsgRecieved(std::u16string_view, std::u16string_view) override { ++messages; }

  static void Send(LoopbackPeer& peer, std::initializer_list<const char*> types) {
    const PlentyOfMemory plenty;
    for (const char* const type : types) peer.Send(Frame(type, "<Data/>"));
  }

  // The host gets four messages, or is told that something failed.
  bool Converse(LoopbackPeer& peer) {
    std::int32_t value = 0;
    control.Connect(u"127.0.0.1", ntohs(peer.Address().port), &value);
    if (value == 0) return false;
    peer.Accept();
    Send(peer, {"One", "Two", "Three"});
    for (int i = 0; i < 9; ++i) loop.DispatchOnce(1);
    if (control.SendTLKMsg(u"Chat", u"<a/>") != kResultOk) return false;
    if (control.m_status != TLK_Connected) return false;
    Send(peer, {"Reply", "Four"});
    std::u16string reply;
    control.SendReceiveTlkMsg(u"Ask", u"", &reply, &reply, 1000);
    return control.m_status == TLK_Connected;
  }

  // Nobody reads what is sent here, so most of it stays behind the port, even when it is closed.
  void LeaveUnread(const LoopbackPeer& peer, const std::string& much) {
    Sockets& sockets = loop.GetSockets();
    const SocketHandle socket = sockets.Open();
    if (sockets.Connect(socket, peer.Address()) == 0 &&
        sockets.RequestNotifications(socket, window, 1, socket_event::kAll) == 0)
      static_cast<void>(sockets.Send(socket, much));
    sockets.Close(socket);
  }

  TLK_ConnStatusEnum announced = TLK_Not_Connected;
  int messages = 0;
  SilentLog log;
  SystemDomFactory dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};
  MessageLoop loop;
  MessageWindow window{loop};
  OpenControl control{{loop.GetSockets(), window, SystemPlatform(), dom, gate, log}, *this};
};

TEST(SystemPorts, LoseNothingSilentlyWhenMemoryRunsOut) {
  pugi::set_memory_management_functions(AllocateScarce, FreeScarce);
  const std::string much(std::size_t{6} << 20, 'x');
  for (const int refused : {1, kEveryTime}) {
    MemoryLimit limit;
    long before = 0;
    int allowed = -1;  // As many as it likes: that makes what stays for ever.
    for (; (allowed <= 0 || limit.hasRefused) && !HasFailure(); ++allowed) {
      SCOPED_TRACE(allowed);
      if (allowed == 0) before = LiveAllocations();
      limit.Set(allowed, refused);
      std::unique_ptr<System> system;
      try {
        Within(limit, [&] { system = std::make_unique<System>(); });
      } catch (const std::bad_alloc&) {
        continue;
      }
      system->control.m_keepAliveIntervalMs = 1;
      bool wentWell = false;
      {
        LoopbackPeer peer;
        const LoopbackPeer deaf;
        wentWell = Within(limit, [&] { return system->Converse(peer); });
        Within(limit, [&] { system->LeaveUnread(deaf, much); });
      }
      const auto isOver = [&] { return system->control.m_status == TLK_Not_Connected; };
      EXPECT_TRUE(Eventually([&] { return system->loop.DispatchOnce(1), isOver(); }));
      EXPECT_TRUE(!wentWell || system->messages == 4);
      EXPECT_EQ(system->announced, system->control.m_status);
      system->messages = 0;
      LoopbackPeer peer;
      EXPECT_TRUE(system->Converse(peer));
      EXPECT_TRUE(Eventually([&] { return system->loop.DispatchOnce(1), system->messages == 4; }));
      EXPECT_THAT(peer.ReadSome(100000), testing::HasSubstr("Type=\"Chat\""));
      system.reset();
      EXPECT_TRUE(allowed < 0 || LiveAllocations() == before);
    }
    EXPECT_GT(allowed, 50);
  }
}

}  // namespace
}  // namespace tlk::test
