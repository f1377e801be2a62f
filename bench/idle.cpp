// What a control costs that has nothing to do: its memory, and what it adds to the work of others.
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "bench/Comparison.h"
#include "bench/ConnectedControl.h"
#include "bench/Loopback.h"
#include "bench/StreamMessages.h"
#include "log/iLogger.h"

namespace tlk::bench {
namespace {

constexpr int kControls = 10'000;
constexpr int kMessages = 20'000;
constexpr std::size_t kMessageSize = 200;

void AllowDescriptors(rlim_t count) {
  rlimit limit{};
  Check(::getrlimit(RLIMIT_NOFILE, &limit) == 0, "getrlimit");
  if (limit.rlim_cur >= count) return;
  limit.rlim_cur = count;
  if (limit.rlim_max < count) limit.rlim_max = count;
  Check(::setrlimit(RLIMIT_NOFILE, &limit) == 0, "the process may not open enough sockets");
}

/// A process that accepts connections, greets each with a message, and keeps them.
class GreetingServer {
 public:
  GreetingServer() : m_child(::fork()) {
    Check(m_child >= 0, "fork");
    if (m_child == 0) Serve();
  }

  GreetingServer(const GreetingServer&) = delete;
  GreetingServer& operator=(const GreetingServer&) = delete;

  ~GreetingServer() {
    ::kill(m_child, SIGTERM);
    ::waitpid(m_child, nullptr, 0);
  }

  [[nodiscard]] std::uint16_t Port() const { return m_listener.Port(); }

 private:
  [[noreturn]] void Serve() const {
    const std::string message = MessageOfSize(kMessageSize);
    std::deque<OwnedDescriptor> connections;
    for (;;) {
      connections.push_back(m_listener.Accept());
      SendAll(connections.back().Get(), message);
    }
  }

  const Listener m_listener;
  const pid_t m_child;
};

/// Controls that are connected and have had a message.
class IdleControls {
 public:
  IdleControls(MessageLoop& loop, std::uint16_t port, int count) {
    m_controls.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      auto& control = m_controls.emplace_back(std::make_unique<NativeControl>(loop, m_host));
      ConnectControl(**control, port);
    }
    while (m_host.messages < count && loop.DispatchOnce(10'000)) {
    }
  }

  [[nodiscard]] int Greeted() const { return m_host.messages; }

 private:
  CountingHost m_host;
  std::vector<std::unique_ptr<NativeControl>> m_controls;
};

std::size_t HeapInUse() {
  const auto info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

/// Sends and receives on this thread, message by message, so that each is waited for.
double MessageByMessage(MessageLoop& loop, ConnectedControl& end) {
  static const std::string message = MessageOfSize(kMessageSize);
  return NanosecondsEach(kMessages, [&](int count) {
    for (int i = 0; i < count; ++i) {
      SendAll(end.server.Get(), message);
      for (const int last = end.host.messages + 1; end.host.messages < last;) loop.DispatchOnce(-1);
    }
  });
}

void Measure(const GreetingServer& server) {
  TraceLog().SetLevel(-1);
  PinToProcessor(0);
  MessageLoop quietLoop;
  ConnectedControl alone(quietLoop);
  MessageLoop loop;
  ConnectedControl amongMany(loop);

  const std::size_t before = HeapInUse();
  const IdleControls idle(loop, server.Port(), kControls);
  ShowFigure("idle", "heap of a connected control that has had a message", "bytes", Better::kLess,
             static_cast<double>(HeapInUse() - before) / kControls, 4096);
  ShowFigure("idle", "controls in one loop that have heard their server", "controls", Better::kMore,
             idle.Greeted(), kControls);
  Compare({.subject = "idle",
           .what = "a message among 10,000 idle controls",
           .unit = "ns",
           .better = Better::kLess,
           .ours = [&] { return MessageByMessage(loop, amongMany); },
           .limits = {{{"alone", [&] { return MessageByMessage(quietLoop, alone); }}, 1.1}},
           .peers = {},
           .rounds = 15});
}

}  // namespace
}  // namespace tlk::bench

int main() {
  tlk::bench::AllowDescriptors(tlk::bench::kControls + 1000);
  const tlk::bench::GreetingServer server;
  tlk::bench::Measure(server);
}
