// What Windows sockets and windows hold to beyond the contract: windows that come and go, and
// notifications that come late.
#include <chrono>
#include <string>

#include "tests/platform/SocketsFixture.h"

namespace tlk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using WindowsSocketsTest = SocketsFixture;

TEST_F(WindowsSocketsTest, ANewWindowHearsWhatTheOldOneWasPromised) {
  const auto socket = ConnectQuietly();
  window->StartTimer(777, 10);
  target.onTold = [&] {
    if (target.told.back() == "timer 888") window->StopTimer(888);
  };
  window->Vanish();
  peer.Send("abc");
  EXPECT_THAT(Told(0), IsEmpty());
  window->StopTimer(777);
  window->StartTimer(888, 10);
  window->Appear();
  EXPECT_THAT(Told(2), testing::UnorderedElementsAre("read", "timer 888"));
  target.told.clear();
  window->Vanish();
  peer.Close();
  window->Appear();
  EXPECT_THAT(Told(1), ElementsAre("read"));
  EXPECT_EQ(Receive(socket, 10), "abc");
  EXPECT_THAT(Told(2), ElementsAre("read", "close"));
}

TEST_F(WindowsSocketsTest, AWindowThatWasCalledOffHearsNothingWhenItAppears) {
  const auto socket = ConnectQuietly();
  EXPECT_EQ(Request(socket, 0), 0);
  window->Vanish();
  EXPECT_EQ(Request(socket, socket_event::kAll), kSocketError);
  EXPECT_EQ(sockets.LastError(), socket_error::kInvalidArgument);
  peer.Send("abc");
  window->Appear();
  EXPECT_THAT(Told(0), IsEmpty());
}

// The system says that a reset stream has come to its end, and once only.
TEST_F(WindowsSocketsTest, AResetIsToldBehindTheBytesBeforeIt) {
  const auto socket = ConnectQuietly();
  peer.Send("abc");
  peer.Reset();
  EXPECT_THAT(Told(1), ElementsAre("read"));
  EXPECT_EQ(Receive(socket, 2), "ab");
  EXPECT_THAT(Told(2), ElementsAre("read", "read"));
  EXPECT_EQ(Receive(socket, 2), "c");
  EXPECT_THAT(Told(3), ElementsAre("read", "read", "close 10054"));
}

TEST_F(WindowsSocketsTest, AResetEndsABlockingReceiveWithItsNumber) {
  const auto socket = Connect(peer);
  peer.Reset();
  EXPECT_EQ(Receive(socket, 1), "error 10054");
}

// The number of a closed socket goes to the next one, which must not hear what was meant for it.
TEST_F(WindowsSocketsTest, LateNotificationsAreMeasuredByTheSocketsRealState) {
  const auto socket = ConnectQuietly();
  const auto post = [&](LPARAM lParam) {
    ASSERT_TRUE(::PostMessageA(window->Handle(), target.registered, socket, lParam));
  };
  for (const LPARAM event : {FD_READ, FD_WRITE, FD_CONNECT, FD_CLOSE, FD_OOB, 0}) post(event);
  post(WSAMAKESELECTREPLY(FD_CLOSE, WSAECONNRESET));
  EXPECT_THAT(Told(0), IsEmpty());
  peer.Send("abc");
  EXPECT_THAT(Told(1), ElementsAre("read"));
  post(FD_CLOSE);
  post(FD_READ);
  EXPECT_THAT(Told(1), ElementsAre("read"));
  EXPECT_EQ(Receive(socket, 3), "abc");
  peer.Close();
  EXPECT_THAT(Told(2), ElementsAre("read", "close"));
  post(FD_CLOSE);
  EXPECT_THAT(Told(2), ElementsAre("read", "close"));
}

// Wine takes a part of a large text only. What is left of it must not hold the host up for ever.
TEST_F(WindowsSocketsTest, CloseGivesUpOnAPeerThatDoesNotRead) {
  const auto socket = ConnectQuietly();
  const std::string large(8'000'000, 'y');
  ASSERT_EQ(sockets.Send(socket, large), static_cast<int>(large.size()));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(sockets.Close(socket), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
}  // namespace tlk
