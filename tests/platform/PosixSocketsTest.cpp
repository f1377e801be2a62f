// What only these sockets promise, beside posix/sockets.txt: no socket with much to read keeps
// others waiting, a closed one goes once all is out, and signals do not change what a call
// promises.
#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <memory>
#include <string>

#include "platform/posix/SocketErrors.h"
#include "platform/posix/TimerQueue.h"
#include "tests/platform/SocketsFixture.h"

namespace tlk {

std::string Option(SocketHandle of, int level, int name) {
  int value = 0;
  socklen_t size = sizeof(value);
  EXPECT_EQ(getsockopt(static_cast<int>(of), level, name, &value, &size), 0);
  return std::to_string(value);
}

void SocketsFixture::AddOwnVerbs() {
  verbs["ready"] = [this](auto&) {
    pollfd ready{.fd = static_cast<int>(socket), .events = POLLIN, .revents = 0};
    return poll(&ready, 1, 10'000) == 1 ? "" : "not in time";
  };
  verbs["gone"] = [this](auto&) {
    return RunUntil([this] { return fcntl(static_cast<int>(socket), F_GETFD) == -1; }), "";
  };
  verbs["round"] = [this](auto&) { return loop.DispatchOnce(100) ? "delivered" : "idle"; };
  verbs["until"] = [this](auto& word) {
    return RunUntil([&] { return !told.empty() && told.back() == word; }), "";
  };
  verbs["count"] = [this](auto&) { return std::to_string(std::exchange(told, {}).size()); };
  verbs["patience"] = [this](auto&) { return Option(socket, IPPROTO_TCP, TCP_USER_TIMEOUT); };
  verbs["alarms"] = [](auto&) {
    static std::atomic<int> left;
    left = 40;
    std::signal(SIGALRM, [](int) {
      if (--left <= 0) ualarm(0, 0);
    });
    return ualarm(50'000, 50'000), "";
  };
  verbs["kept-alive"] = [this](auto&) { return Option(socket, SOL_SOCKET, SO_KEEPALIVE); };
  verbs["inherited"] = [this](auto&) {
    return fcntl(static_cast<int>(socket), F_GETFD) == FD_CLOEXEC ? "no" : "yes";
  };
  verbs["descriptors"] = [](auto& count) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, std::stoul(count));
    return setrlimit(RLIMIT_NOFILE, &limit) == 0 ? "" : "refused";
  };
  verbs["number"] = [](auto& name) {
    int error = -1;
    for (const char* known = nullptr; error < 200 && (known == nullptr || name != known);)
      known = strerrorname_np(++error);
    return std::to_string(SocketErrorFromErrno(error));
  };
  verbs["given-up"] = [this](auto&) {
    const auto start = TimerQueue::Clock::now();
    {
      MessageLoop ending;
      Sockets& its = ending.GetSockets();
      const SocketHandle full = its.Open();
      EXPECT_EQ(its.Connect(full, peer.Address()) + its.SetSendTimeout(full, 1), 0);
      EXPECT_GT(its.Send(full, kBlock), 0);
    }
    const auto seconds = (TimerQueue::Clock::now() - start) / std::chrono::seconds(1);
    return seconds >= 5 && seconds < 15 ? "" : std::to_string(seconds);
  };
  verbs["quiet"] = [this](auto&) {
    const auto isQuiet = [this] {
      const auto end = TimerQueue::Clock::now() + std::chrono::milliseconds(50);
      loop.DispatchOnce(50);
      return TimerQueue::Clock::now() >= end;
    };
    return RunUntil(isQuiet), "";
  };
  verbs["elsewhere"] = [this](auto&) {
    MessageLoop otherLoop;
    MessageWindow otherWindow(otherLoop);
    return sockets.RequestNotifications(socket, otherWindow, 1, 1) == 0 ? "" : "refused";
  };
}

using PosixSocketsTest = SocketsFixture;

TEST_F(PosixSocketsTest, ARoundEndsWithAnotherDescriptorOrItsTime) {
  const OwnedDescriptor other(eventfd(0, 0));
  Play("connect; request 1; send c; ready");
  EXPECT_FALSE(loop.DispatchOnceOrReadable(other.Get(), 10'000));
  Play("told read");
  EXPECT_FALSE(loop.DispatchOnceOrReadable(other.Get(), 10));
  eventfd_write(other.Get(), 1);
  EXPECT_TRUE(loop.DispatchOnceOrReadable(other.Get(), -1));
  const auto begin = TimerQueue::Clock::now();
  Play("start 7");
  loop.Run(50);
  EXPECT_GE(TimerQueue::Clock::now() - begin, std::chrono::milliseconds(50));
  EXPECT_THAT(told, testing::Contains("timer:7"));
}

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
  EXPECT_EQ(queue.MillisecondsToNext(), -1);
  for (const unsigned minutes : {3U, 2U, 4U}) timers->Start(minutes, 60'000 * minutes);
  EXPECT_NEAR(queue.MillisecondsToNext(), 120'000, 30'000);
  EXPECT_EQ(firedBy(1), "");
  EXPECT_EQ(firedBy(3), "2 3 ");
  timers->Stop(3);
  timers->Start(4, 9 * 60'000);  // Later than it was,
  timers->Start(2, 60'000);      // and earlier.
  EXPECT_EQ(firedBy(5), "2 ");
  EXPECT_EQ(firedBy(8), "2 ");
  timers->Stop(2);
  EXPECT_EQ(firedBy(10), "4 ");
  timers->Start(5, 0);
  EXPECT_EQ(queue.MillisecondsToNext(), 0);
  EXPECT_TRUE(queue.FireOne(start + std::chrono::seconds(9)));
  EXPECT_FALSE(queue.FireOne(start + std::chrono::seconds(9))) << "a period of no length";
  timers.reset();
  EXPECT_EQ(firedBy(99), "5 ") << "that was before its window went";
}

}  // namespace tlk
