// What Windows sockets and windows hold to beyond the contract: windows that come and go, and
// notifications that come late.
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "tests/platform/SocketsFixture.h"

namespace tlk {
namespace {

using namespace std::chrono_literals;
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

TEST_F(WindowsSocketsTest, LateNotificationsAreMeasuredByTheSocketsRealState) {
  const auto socket = ConnectQuietly();
  const auto post = [&](LPARAM lParam) {
    ASSERT_TRUE(::PostMessageA(window->Handle(), target.registered, socket, lParam));
  };
  for (const LPARAM event : {FD_READ, FD_WRITE, FD_CLOSE}) post(event);
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

// Wine takes a part of a large text only.
class WindowsLargeTextTest : public WindowsSocketsTest {
 protected:
  const std::string large = std::string(8'000'000, 'y');

  /// Reads so much after a pause.
  void Read(std::size_t size, std::chrono::milliseconds pause) {
    std::this_thread::sleep_for(pause);
    const auto limit = std::chrono::steady_clock::now() + 20s;
    for (std::size_t read = 0; read < size; read += peer.ReadSome(size - read).size())
      ASSERT_LT(std::chrono::steady_clock::now(), limit) << read << " bytes of " << size;
  }
};

TEST_F(WindowsLargeTextTest, TheLimitOfASendIsOneForAllThatItSends) {
  const auto socket = ConnectQuietly();
  ASSERT_EQ(sockets.Send(socket, large), static_cast<int>(large.size()));
  ASSERT_EQ(Request(socket, 0), 0);
  ASSERT_EQ(sockets.SetBlocking(socket), 0);
  ASSERT_EQ(sockets.SetSendTimeout(socket, 2000), 0);
  const std::jthread reader([&] { Read(large.size(), 1400ms); });
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(sockets.Send(socket, std::string(10 * large.size(), 'z')), kSocketError);
  EXPECT_EQ(sockets.LastError(), socket_error::kTimedOut);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 3000ms);
}

TEST_F(WindowsLargeTextTest, GoesOutInTheEndAsLongAsThePeerReads) {
  std::jthread reader;
  MessageLoop ending;
  MessageWindow endingWindow(ending);
  auto& its = ending.GetSockets();
  const auto socket = its.Open();
  ASSERT_EQ(its.Connect(socket, peer.Address()), 0);
  peer.Accept();
  ASSERT_EQ(its.RequestNotifications(socket, endingWindow, target.registered, 1), 0);
  ASSERT_EQ(its.Send(socket, large), static_cast<int>(large.size()));
  peer.Send("what nobody reads must not cost what was sent");
  reader = std::jthread([&] {
    for (int half = 0; half < 2; ++half) Read(large.size() / 2, 3000ms);
  });
}

// It must not hold the host up for ever.
TEST_F(WindowsLargeTextTest, CloseGivesUpOnAPeerThatDoesNotRead) {
  const auto socket = ConnectQuietly();
  ASSERT_EQ(sockets.Send(socket, large), static_cast<int>(large.size()));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(sockets.Close(socket), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
}  // namespace tlk
