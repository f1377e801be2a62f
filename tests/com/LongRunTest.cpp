#include <cstdio>

#include "tests/com/ContainerFixture.h"
#include "tests/com/ProcessHoldings.h"

namespace tlk {
namespace {

constexpr int kConnections = 1000;
constexpr int kMessages = 3;  // Each way, on each connection.

class LongRunTest : public ContainerTest {
 protected:
  /// One connection of a control of its own, from the first message to one of its ends.
  void RunConnection(int number) {
    EventListener listener;
    Embedded embedded(m_module, m_window);
    const DWORD cookie = embedded.Advise(listener);
    embedded.Connect(m_peer);
    std::string expected = "status 3;";
    for (int i = 0; i < kMessages; ++i) {
      const std::string type = std::to_string(number) + "." + std::to_string(i);
      m_peer.Send(ServerMessage(type));
      expected.append(type).append(" <Data/>;");
      ASSERT_TRUE(PumpUntil([&] { return listener.heard == expected; })) << listener.heard;
      ASSERT_EQ(embedded.control->SendTLKMsg(Bstr(L"Back").Get(), Bstr(L"<a/>").Get()), S_OK);
      std::string received;
      EXPECT_TRUE(PumpUntil([&] {
        received += m_peer.ReadSome(4096);
        return received.find("</TLK_Message>") != received.npos;
      }));
    }
    if (number % 3 == 2) return embedded.Leave();
    expected += "status 0;";
    number % 3 == 0 ? (void)embedded.control->Disconnect() : m_peer.Close();
    EXPECT_TRUE(PumpUntil([&] { return listener.heard == expected; })) << listener.heard;
    EXPECT_EQ(embedded.Events()->Unadvise(cookie), S_OK);
  }

  LoopbackPeer m_peer;
};

TEST_F(LongRunTest, AThousandConnectionsLeaveNothingBehind) {
  std::size_t handles = 0;
  std::size_t blocks = 0;
  for (int number = 0; number < kConnections; ++number) {
    if (number == 60) {  // The first few only warm the process up.
      handles = Handles();
      blocks = HeapBlocks();
    }
    RunConnection(number);
  }
  const std::size_t handlesLeft = Handles();
  const std::size_t blocksLeft = HeapBlocks();
  std::printf("%d connections: handles %zu to %zu, heap blocks %zu to %zu\n", kConnections, handles,
              handlesLeft, blocks, blocksLeft);
  EXPECT_LE(handlesLeft, handles + 10);
  EXPECT_LE(blocksLeft, blocks + 50);
}

}  // namespace
}  // namespace tlk
