// What only these sockets promise: no socket with much to read keeps others waiting, a closed one
// goes once all is out, and neither signals nor the end of a loop change what a call promises.
#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/SocketErrors.h"
#include "platform/posix/TimerQueue.h"
#include "tests/platform/SocketsFixture.h"

namespace tlk {
namespace {

class PosixSocketsTest : public SocketsFixture {
 protected:
  PosixSocketsTest() {
    verbs["gone"] = [this](auto&) {
      return RunUntil([this] { return fcntl(Descriptor(), F_GETFD) == -1; }), "";
    };
    verbs["round"] = [this](auto&) { return loop.DispatchOnce(100) ? "delivered" : "idle"; };
    verbs["ready"] = [this](auto&) { return AwaitReady(), ""; };
  }

  [[nodiscard]] int Descriptor() const { return static_cast<int>(socket); }

  void AwaitReady() const {
    pollfd ready{.fd = Descriptor(), .events = POLLIN, .revents = 0};
    ASSERT_EQ(poll(&ready, 1, 10'000), 1);
  }

  [[nodiscard]] int Option(int level, int name) const {
    int value = 0;
    socklen_t size = sizeof(value);
    EXPECT_EQ(getsockopt(Descriptor(), level, name, &value, &size), 0);
    return value;
  }
};

// Most numbers run on in an order that is older than either system.
TEST_F(PosixSocketsTest, ErrorsHaveTheNumbersThatTheLogShows) {
  int number = 10035;
  for (const int error :
       {EWOULDBLOCK,  EINPROGRESS, EALREADY,        ENOTSOCK,        EDESTADDRREQ, EMSGSIZE,
        EPROTOTYPE,   ENOPROTOOPT, EPROTONOSUPPORT, ESOCKTNOSUPPORT, EOPNOTSUPP,   EPFNOSUPPORT,
        EAFNOSUPPORT, EADDRINUSE,  EADDRNOTAVAIL,   ENETDOWN,        ENETUNREACH,  ENETRESET,
        ECONNABORTED, ECONNRESET,  ENOBUFS,         EISCONN,         ENOTCONN,     ESHUTDOWN})
    EXPECT_EQ(SocketErrorFromErrno(error), number++);
  const std::pair<int, int> others[] = {{0, 0},
                                        {EINTR, 10004},
                                        {EACCES, 10013},
                                        {EPERM, 10013},
                                        {EFAULT, 10014},
                                        {EINVAL, 10022},
                                        {EMFILE, 10024},
                                        {ENFILE, 10024},
                                        {EBADF, 10038},
                                        {EPIPE, 10054},
                                        {ENOMEM, 10055},
                                        {ETIMEDOUT, 10060},
                                        {ECONNREFUSED, 10061},
                                        {EHOSTDOWN, 10064},
                                        {EHOSTUNREACH, 10065},
                                        {EXDEV, 20000 + EXDEV}};
  for (const auto& [error, expected] : others) EXPECT_EQ(SocketErrorFromErrno(error), expected);
}

TEST_F(PosixSocketsTest, TellNoWindowOfAnotherLoopAndNoneThatIsGone) {
  MessageLoop otherLoop;
  MessageWindow otherWindow(otherLoop);
  Play("connect; say x = 1");
  EXPECT_EQ(sockets.RequestNotifications(socket, otherWindow, 1, 1), kSocketError);
  Play("block; request 51; told write; destroy; send abc; told; block; receive 3 = abc");
}

TEST_F(PosixSocketsTest, AreTheProcesssOwnAndRefusedWhereItHasNoMore) {
  Play("open; keep-alive");
  EXPECT_EQ(fcntl(Descriptor(), F_GETFD), FD_CLOEXEC);
  EXPECT_EQ(Option(SOL_SOCKET, SO_KEEPALIVE), 1);
  rlimit usual{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
  const rlimit tight{0, usual.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
  Play("open; close = error 10038");
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
}

TEST_F(PosixSocketsTest, ABusyOneKeepsNeitherOthersNorTimersWaiting) {
  const auto busy = ConnectQuietly();
  LoopbackPeer otherPeer;
  socket = Connect(otherPeer);
  ASSERT_EQ(Request(socket, socket_event::kClose), 0);
  target.onTold = [&] {
    if (target.socket == busy) Receive(busy, 1);
  };
  peer.Send(std::string(10'000, 'x'));
  RunUntil([&] { return !target.told.empty(); });
  otherPeer.Close();
  AwaitReady();
  RunUntil([&] { return target.told.back() == "close"; });
  EXPECT_EQ(target.told.size(), 17U) << "sixteen of one before the system is asked again";
  window->StartTimer(1, 0);
  loop.DispatchOnce(0);
  EXPECT_THAT(target.told, testing::Contains("timer:1"));
}

TEST_F(PosixSocketsTest, AClosedOneGoesOnceAllIsOutWhateverThePeerSends) {
  Play("connect; send unread; close; gone");
  Play("connect; request 51; fill = error 10035; send what-nobody-reads; close");
  EXPECT_EQ(Option(IPPROTO_TCP, TCP_USER_TIMEOUT), 30'000);
  Play("drain; gone; connect; request 51; fill = error 10035; close; reset; gone");
}

TEST_F(PosixSocketsTest, ARoundTellsWhetherItBroughtAnythingAndAnotherDescriptorEndsIt) {
  Play(
      "round = idle; connect; request 51; round = delivered; send ab; ready; round = delivered;"
      "receive 1 = a; round = delivered; receive 1 = b; round = idle; start 7; round = delivered;"
      "stop 7; round = idle; told write read read timer:7; send c; ready");
  int ends[2] = {-1, -1};
  ASSERT_EQ(pipe(ends), 0);
  EXPECT_FALSE(loop.DispatchOnceOrReadable(ends[0], 10'000));
  EXPECT_THAT(std::exchange(target.told, {}), testing::ElementsAre("read"));
  EXPECT_FALSE(loop.DispatchOnceOrReadable(ends[0], 10));
  close(ends[1]);
  EXPECT_TRUE(loop.DispatchOnceOrReadable(ends[0], -1));
  close(ends[0]);
  const auto begin = TimerQueue::Clock::now();
  window->StartTimer(7, 10);
  loop.Run(50);
  EXPECT_GE(TimerQueue::Clock::now() - begin, std::chrono::milliseconds(50));
  EXPECT_THAT(target.told, testing::Contains("timer:7"));
}

TEST_F(PosixSocketsTest, TellOfAResetThatASendHasMet) {
  Play("connect; request 51; told write; reset; ready; say x = error 10054; told close");
}

TEST_F(PosixSocketsTest, ALimitIsForTheWholeCallWhateverInterruptsIt) {
  Play("connect; request 51; fill = error 10035; request 0; block; limit 255; limit-say 255");

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
  Play("receive 1 = error 10060");
  std::jthread slow([this](const std::stop_token& stop) {
    for (; !stop.stop_requested(); usleep(20'000)) peer.ReadSome(1 << 16);
  });
  EXPECT_EQ(Outcome(sockets.Send(socket, kBlock)), "error 10060");
  const auto passed = std::chrono::steady_clock::now() - begin;
  EXPECT_GT(passed, std::chrono::milliseconds(500));
  EXPECT_LT(passed, std::chrono::seconds(3));
  setitimer(ITIMER_REAL, &kNever, nullptr);
  std::signal(SIGALRM, SIG_DFL);
  slow = {};
  peer.Reset();
}

class TheEndOf : public PosixSocketsTest, public testing::WithParamInterface<const char*> {};

TEST_P(TheEndOf, LetsOutWhatWasTaken) {
  unread = kBlock.size();
  std::unique_ptr<MessageLoop> loopOfThread;
  std::thread owner([&] {
    loopOfThread = std::make_unique<MessageLoop>();
    auto itsWindow = std::make_unique<MessageWindow>(*loopOfThread);
    Sockets& its = loopOfThread->GetSockets();
    const auto itsSocket = its.Open();
    ASSERT_EQ(its.Connect(itsSocket, peer.Address()), 0);
    ASSERT_EQ(its.RequestNotifications(itsSocket, *itsWindow, 1, socket_event::kAll), 0);
    ASSERT_EQ(its.Send(itsSocket, kBlock), std::ssize(kBlock));
    itsWindow.reset();
    if (GetParam() == std::string("ALoop")) loopOfThread.reset();
  });
  peer.Accept();
  peer.Send("what nobody reads must not cost what was sent");
  Drain();
  owner.join();
}

INSTANTIATE_TEST_SUITE_P(PosixSocketsTest, TheEndOf, testing::Values("ALoop", "AThread"));

TEST(TimerQueueTest, FiresInOrderOncePerPeriodUntilStopped) {
  struct Receiver : TimerReceiver {
    void OnTimerDue(std::uintptr_t timerId) override { fired += std::to_string(timerId) + ' '; }
    std::string fired;
  } receiver;
  TimerQueue queue;
  auto timers = std::make_unique<WindowTimers>(queue, receiver);
  const auto start = TimerQueue::Clock::now();
  const auto firedBy = [&](int minute) {
    while (queue.FireOne(start + std::chrono::seconds(60 * minute + 30))) {
    }
    return std::exchange(receiver.fired, {});
  };
  const auto startTimer = [&](unsigned id, unsigned minutes) {
    timers->Start(id, 60'000 * minutes);
  };
  EXPECT_EQ(queue.MillisecondsToNext(), -1);
  for (const unsigned minutes : {3U, 2U, 4U}) startTimer(minutes, minutes);
  EXPECT_NEAR(queue.MillisecondsToNext(), 120'000, 30'000);
  EXPECT_EQ(firedBy(1), "");
  EXPECT_EQ(firedBy(3), "2 3 ");
  timers->Stop(3);
  startTimer(4, 9);  // Later than it was,
  startTimer(2, 1);  // and earlier.
  EXPECT_EQ(firedBy(5), "2 ");
  EXPECT_EQ(firedBy(8), "2 ");
  timers->Stop(2);
  EXPECT_EQ(firedBy(10), "4 ");
  startTimer(5, 0);
  EXPECT_EQ(queue.MillisecondsToNext(), 0);
  EXPECT_TRUE(queue.FireOne(start + std::chrono::seconds(9)));
  EXPECT_FALSE(queue.FireOne(start + std::chrono::seconds(9))) << "a period of no length";
  timers.reset();
  EXPECT_EQ(firedBy(99), "5 ") << "that was before its window went";
}

}  // namespace
}  // namespace tlk
