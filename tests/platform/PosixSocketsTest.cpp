// What only these sockets promise: bytes in front of a reset are not lost, no socket with much to
// read keeps others waiting, and neither signals nor the end of a loop change what a call promises.
#include <sys/time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <thread>

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

TEST_F(PosixSocketsTest, ALimitIsForTheWholeCallWhateverInterruptsIt) {
  const auto socket = ConnectQuietly();
  const std::string large(16 << 20, 'x');
  while (sockets.Send(socket, large) != kSocketError) {
  }
  ASSERT_EQ(Request(socket, 0), 0);
  ASSERT_EQ(sockets.SetBlocking(socket), 0);
  ASSERT_EQ(sockets.SetSendTimeout(socket, 300), 0);
  ASSERT_EQ(sockets.SetReceiveTimeout(socket, 300), 0);

  // Signals for four seconds, and a peer that takes a little now and then.
  static std::atomic<int> ticks;
  static constexpr itimerval kNever{};
  ticks = 80;
  std::signal(SIGALRM, [](int) {
    if (--ticks == 0) setitimer(ITIMER_REAL, &kNever, nullptr);
  });
  constexpr itimerval often{.it_interval = {0, 50'000}, .it_value = {0, 50'000}};
  ASSERT_EQ(setitimer(ITIMER_REAL, &often, nullptr), 0);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Receive(socket, 1), "error 10060");
  std::jthread slow([this](const std::stop_token& stop) {
    for (; !stop.stop_requested(); usleep(20'000)) peer.ReadSome(1 << 16);
  });
  EXPECT_EQ(sockets.Send(socket, large), kSocketError);
  EXPECT_EQ(sockets.LastError(), socket_error::kTimedOut);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
  setitimer(ITIMER_REAL, &kNever, nullptr);
  std::signal(SIGALRM, SIG_DFL);
  slow = {};
  peer.Reset();
}

class TheEndOf : public PosixSocketsTest, public testing::WithParamInterface<const char*> {};

TEST_P(TheEndOf, LetsOutWhatWasTaken) {
  const std::string large(8'000'000, 'y');
  std::unique_ptr<MessageLoop> loopOfThread;
  std::thread owner([&] {
    loopOfThread = std::make_unique<MessageLoop>();
    auto itsWindow = std::make_unique<MessageWindow>(*loopOfThread);
    Sockets& its = loopOfThread->GetSockets();
    const auto socket = its.Open();
    ASSERT_EQ(its.Connect(socket, peer.Address()), 0);
    ASSERT_EQ(its.RequestNotifications(socket, *itsWindow, 1, socket_event::kAll), 0);
    ASSERT_EQ(its.Send(socket, large), static_cast<int>(large.size()));
    itsWindow.reset();
    if (GetParam() == std::string("ALoop")) loopOfThread.reset();
  });
  peer.Accept();
  peer.Send("what nobody reads must not cost what was sent");
  std::size_t read = 0;
  RunUntil([&] { return (read += peer.ReadSome(1 << 20).size()) == large.size(); });
  owner.join();
}

INSTANTIATE_TEST_SUITE_P(PosixSocketsTest, TheEndOf, testing::Values("ALoop", "AThread"));

}  // namespace
}  // namespace tlk
