// Many connections and messages against `tlk serve`, and nothing left behind. After each wave of
// connections every message has come back once and in order, and heap, descriptors and threads are
// as after the first wave. Prints a line for each. Exit status 0, or 1 with a reason.
#include <malloc.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <optional>
#include <stdexcept>

#include "control/NativeControl.h"
#include "tests/soak/Program.h"

namespace tlk {
namespace {

namespace fs = std::filesystem;

constexpr int kTurns = 5;   // Connections of a client in a wave.
constexpr int kBurst = 10;  // The first message of a burst is a request.
constexpr std::size_t kMaxHeapGrowth = 512 << 10;
constexpr int kServerLimit = 20'000;

/// How a connection ends. The server closes it for a message beyond its limit, which resets it when
/// there is more of the message to come.
enum Way { kDisconnect, kControlDestroyed, kServerCloses, kServerResets, kWays };

void Check(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

/// A host whose control has one connection after another. On each it sends numbered messages, and
/// compares what comes back.
class Client final : public ITlkcEvents {
 public:
  Client(MessageLoop& loop, std::uint16_t port) : m_loop(loop), m_port(port) {}

  void Connect() {
    // What a reset connection has left unsent would go out first on the next one.
    if (!m_control || m_way == kServerResets) m_control.emplace(m_loop, *this);
    std::int32_t isConnected = 0;
    (*m_control)->Connect(u"127.0.0.1", m_port, &isConnected);
    Check(isConnected == 1, "a control does not connect");
    m_way.reset();
    m_hasEnded = false;
  }

  void Send() {
    (*m_control)->SendTLKMsg(Type(m_sent), Body(m_sent));
    ++m_sent;
  }
  void Request() {
    std::u16string type;
    std::u16string data;
    (*m_control)->SendReceiveTlkMsg(Type(m_sent), Body(m_sent), &type, &data, 60'000);
    ++m_sent;
    TlkMsgRecieved(type, data);
  }

  void End(Way way) {
    m_way = way;
    if (way == kDisconnect) (*m_control)->Disconnect();
    if (way == kServerCloses) (*m_control)->SendTLKMsg(u"Long", Text(kServerLimit + 2'000));
    if (way == kServerResets) (*m_control)->SendTLKMsg(u"Long", Text(5 * kServerLimit));
    if (way != kControlDestroyed) return;
    m_control.reset();
    m_hasEnded = true;
  }

  [[nodiscard]] bool IsAnswered() const {
    Check(m_isTrue, "a message came back that was not sent, or the connection ended too early");
    return m_received == m_sent;
  }
  [[nodiscard]] bool HasEnded() const { return IsAnswered() && m_hasEnded; }

 private:
  static std::u16string Type(int number) {
    const std::string digits = std::to_string(number);
    return u"<\u00e9 & " + std::u16string(digits.begin(), digits.end());
  }
  // Mostly small; one of ten is larger, and one of a hundred large.
  static std::u16string Body(int number) {
    return Text(number % 100 == 15 ? 15'000 : number % 10 == 3 ? 2'000 : number % 80);
  }
  static std::u16string Text(int size) {
    return u"<a>\u00e9&lt;" + std::u16string(static_cast<std::size_t>(size), u'x') + u"</a>";
  }

  void TlkMsgRecieved(std::u16string_view type, std::u16string_view data) override {
    m_isTrue &= type == Type(m_received) && data == u"<Data>" + Body(m_received) + u"</Data>";
    ++m_received;
  }
  void ConnStatusChanged(TLK_ConnStatusEnum status) override {
    if (status == TLK_Connected) return;
    m_isTrue &= m_way.has_value();
    m_hasEnded = true;
  }

  MessageLoop& m_loop;
  const std::uint16_t m_port;
  std::optional<NativeControl> m_control;
  std::optional<Way> m_way;
  int m_sent = 0;
  int m_received = 0;
  bool m_isTrue = true;
  bool m_hasEnded = true;
};

struct Options {
  std::string tlk;
  int connections = 10'000;
  int messages = 1'000'000;  // Both ways.
  int atOnce = 200;
  unsigned limit = 300;
};

struct Holdings {
  std::size_t heap;
  std::ptrdiff_t descriptors;
  std::ptrdiff_t threads;
};

Holdings HoldingsNow() {
  const auto entries = [](const char* folder) {
    return std::distance(fs::directory_iterator(folder), {});
  };
  const auto heap = ::mallinfo2();  // Nothing where a sanitizer has put a heap of its own.
  return {heap.uordblks + heap.hblkhd, entries("/proc/self/fd"), entries("/proc/self/task")};
}

class Soak {
 public:
  /// Passes the server's first line on, and in the end its status.
  explicit Soak(const Options& options)
      : m_options(options),
        m_server("{ '" + options.tlk + "' serve --clients " + std::to_string(options.connections) +
                 " --for " + std::to_string(options.limit) + " --max-length " +
                 std::to_string(kServerLimit) +
                 "; echo status $?; } 2>/dev/null | sed -un '1p; $p'") {
    TraceLog().SetConsoleEcho(false);
    TraceLog().SetMaxQueueSize(100'000);  // It keeps what room its lines once took.
  }

  void Run() {
    Check(m_options.connections % (kTurns * m_options.atOnce) == 0 &&
              m_options.messages % (2 * m_options.connections) == 0,
          "the numbers do not go into each other");
    m_server.ReadLine();
    const std::string listening = m_server.Output();
    m_port = static_cast<std::uint16_t>(std::stoi(listening.substr(listening.find(':') + 1)));
    const Holdings first = RunWave();
    while (m_connections < m_options.connections) {
      const Holdings now = RunWave();
      Check(now.heap <= first.heap + kMaxHeapGrowth, "the heap has grown");
      Check(now.descriptors == first.descriptors, "descriptors are left open");
      Check(now.threads == first.threads, "threads are left running");
    }
    m_server.End();
    Check(m_server.Output().ends_with("\nstatus 0\n"), "the server has failed");
  }

 private:
  using Clients = std::list<Client>;

  Holdings RunWave() {
    Clients clients;
    for (int i = 0; i < m_options.atOnce; ++i) clients.emplace_back(m_loop, m_port);
    for (int turn = 0; turn < kTurns; ++turn) RunTurn(clients, turn);
    clients.clear();
    TraceLog().Flush();
    const Holdings now = HoldingsNow();
    std::printf("%5d connections %7d messages %4ld s: heap %zu, %td descriptors, %td threads\n",
                m_connections, 2 * m_each * m_connections, std::time(nullptr) - m_start, now.heap,
                now.descriptors, now.threads);
    return now;
  }

  void RunTurn(Clients& clients, int turn) {
    for (auto& client : clients) client.Connect();
    for (int message = 0; message < m_each; ++message) {
      const bool isRequest = message % kBurst == 0;
      if (isRequest) Await(clients, &Client::IsAnswered);
      for (auto& client : clients) isRequest ? client.Request() : client.Send();
    }
    Await(clients, &Client::IsAnswered);
    for (auto& client : clients) client.End(static_cast<Way>((m_connections++ + turn) % kWays));
    Await(clients, &Client::HasEnded);
  }

  void Await(const Clients& clients, bool (Client::*holds)() const) {
    while (!std::ranges::all_of(clients, holds)) m_loop.DispatchOnce(1000);
  }

  const Options m_options;
  const int m_each = m_options.messages / 2 / m_options.connections;
  const std::time_t m_start = std::time(nullptr);
  conversations::Program m_server;
  std::uint16_t m_port = 0;
  MessageLoop m_loop;
  int m_connections = 0;
};

}  // namespace
}  // namespace tlk

int main(int argc, char** argv) {
  CLI::App app("Make many connections to a server and send many messages.");
  tlk::Options options;
  app.add_option("--tlk", options.tlk, "The program tlk")->required();
  app.add_option("--connections", options.connections, "How many in all");
  app.add_option("--messages", options.messages, "How many, both ways");
  app.add_option("--at-once", options.atOnce, "How many connections at a time");
  app.add_option("--limit", options.limit, "The server ends after so many seconds");
  CLI11_PARSE(app, argc, argv);
  std::string folder = "/tmp/tlk-soak-XXXXXX";
  tlk::Check(::mkdtemp(folder.data()) != nullptr, "no temporary folder");
  ::setenv("TMPDIR", folder.c_str(), 1);
  tlk::Soak soak(options);
  try {
    soak.Run();
    std::filesystem::remove_all(folder);
    return 0;
  } catch (const std::exception& failure) {
    std::printf("soak: %s (the trace log is in %s)\n", failure.what(), folder.c_str());
    std::fflush(stdout);
    std::_Exit(1);  // The server would not end.
  }
}
