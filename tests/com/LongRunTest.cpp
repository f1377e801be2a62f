#include "tests/com/ContainerFixture.h"
#include "tests/com/ProcessHoldings.h"

namespace tlk {
namespace {

using LongRunTest = ContainerTest;

TEST_F(LongRunTest, AThousandConnectionsLeaveNothingBehind) {
  LoopbackPeer peer;
  ProcessHoldings before;
  for (int number = 0; number < 1000; ++number) {
    if (number == 60) before = HoldingsNow();  // The first few only warm the process up.
    EventListener listener;
    Embedded embedded(m_module, m_window);
    const DWORD cookie = embedded.Advise(listener);
    embedded.Connect(peer);
    std::string expected = "status 3;";
    for (int i = 0; i < 3; ++i) {
      const std::string type = std::to_string(number) + "." + std::to_string(i);
      peer.Send(ServerMessage(type));
      expected.append(type).append(" <Data/>;");
      ASSERT_TRUE(PumpUntil([&] { return listener.heard == expected; })) << listener.heard;
      ASSERT_EQ(embedded.control->SendTLKMsg(Bstr(L"Back").Get(), Bstr(L"<a/>").Get()), S_OK);
      std::string received;
      ASSERT_TRUE(PumpUntil([&] {
        received += peer.ReadSome(4096);
        return received.find("</TLK_Message>") != received.npos;
      }));
    }
    if (number % 3 == 0) continue;  // The container goes while it is connected.
    expected += "status 0;";
    number % 3 == 1 ? (void)embedded.control->Disconnect() : peer.Close();
    ASSERT_TRUE(PumpUntil([&] { return listener.heard == expected; })) << listener.heard;
    EXPECT_EQ(embedded.Events()->Unadvise(cookie), S_OK);
  }
  ExpectNothingLeftSince(before);
}

}  // namespace
}  // namespace tlk
