// What only these sockets promise: bytes in front of a reset are not lost, and no socket with much
// to read keeps others waiting.
#include <algorithm>
#include <string>

#include "tests/platform/SocketsFixture.h"

namespace tlk {
namespace {

using testing::ElementsAre;

class PosixSocketsTest : public SocketsFixture {
 protected:
  /// Has "words" still to be read, and a reset behind it.
  SocketHandle ConnectAndReset() {
    const auto socket = ConnectQuietly();
    peer.Send("last words");
    Told(1);
    EXPECT_EQ(Receive(socket, 5), "last ");
    peer.Reset();
    EXPECT_THAT(Told(2), ElementsAre("read", "read"));
    EXPECT_EQ(Receive(socket, 50), "words");
    return socket;
  }

  /// A socket with far more bytes than notifications that the test waits for.
  void KeepBusy() {
    const auto busy = ConnectQuietly();
    peer.Send(std::string(kBusyBytes, 'x'));
    target.onTold = [this, busy] {
      if (target.socket == busy) Receive(busy, 1);
    };
  }

  bool HasHeardBesideTheBusy(const std::string& what) {
    RunUntil([&] { return std::count(target.told.begin(), target.told.end(), what) > 0; });
    return target.told.size() < kBusyBytes / 2;
  }

  static constexpr std::size_t kBusyBytes = 10'000;
};

TEST_F(PosixSocketsTest, AResetIsToldAfterTheBytes) {
  ConnectAndReset();
  EXPECT_THAT(Told(3), ElementsAre("read", "read", "close 10054"));
}

TEST_F(PosixSocketsTest, AResetIsMetByWhoeverReadsOn) {
  const auto socket = ConnectAndReset();
  EXPECT_EQ(Receive(socket, 50), "error 10054");
  EXPECT_EQ(Receive(socket, 50), "");
}

TEST_F(PosixSocketsTest, ABusySocketKeepsNoOtherWaiting) {
  KeepBusy();
  LoopbackPeer otherPeer;
  const auto other = Connect(otherPeer);
  ASSERT_EQ(Request(other, socket_event::kClose), 0);
  otherPeer.Close();
  EXPECT_TRUE(HasHeardBesideTheBusy("close"));
}

TEST_F(PosixSocketsTest, ABusySocketKeepsNoTimerWaiting) {
  KeepBusy();
  window->StartTimer(1, 0);
  EXPECT_TRUE(HasHeardBesideTheBusy("timer 1"));
}

}  // namespace
}  // namespace tlk
