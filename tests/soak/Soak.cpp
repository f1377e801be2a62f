// Many connections and messages against `tlk serve`, and nothing left behind. After each wave of
// connections every message has come back once and in order, the trace log has every record, whole,
// and heap, descriptors and threads are as after the first wave. Prints a line for each. Exit
// status 0, or 1 with a reason.
#include <malloc.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "tests/conversations/Program.h"
#include "tests/soak/TraceLogTally.h"

/// Present where a sanitizer has put a heap of its own.
extern "C" std::size_t AllocatedBytes() __asm__("__sanitizer_get_current_allocated_bytes")
    __attribute__((weak));

namespace tlk::soak {
namespace {

namespace fs = std::filesystem;

constexpr int kTurns = 5;  // Connections of a client in a wave.
constexpr std::size_t kMaxHeapGrowth = 512 << 10;

struct Options {
  std::string tlk;
  int connections = 10'000;
  int messages = 1'000'000;  // Both ways.
  int atOnce = 200;
  unsigned limit = 300;
};

/// Passes the server's first line on, and in the end how often it has said what, and its status.
std::string ServerCommand(const Options& options) {
  return "{ timeout " + std::to_string(options.limit) + " '" + options.tlk + "' serve --clients " +
         std::to_string(options.connections) + " --max-length " + std::to_string(kServerLimit) +
         "; echo status $?; } 2>/dev/null | { read -r line; echo \"$line\"; awk '"
         "{ said = $1 == \"client\" ? $3 : $0 }"
         " { count[said]++ } END { for (said in count) print count[said], said }'; }";
}

struct Holdings {
  std::size_t heap;
  std::ptrdiff_t descriptors;
  std::ptrdiff_t threads;
};

Holdings HoldingsNow() {
  const auto entries = [](const char* folder) {
    return std::distance(fs::directory_iterator(folder), {});
  };
  const auto info = ::mallinfo2();
  const bool isSanitized = AllocatedBytes != nullptr;
  return {isSanitized ? AllocatedBytes() : info.uordblks + info.hblkhd, entries("/proc/self/fd"),
          entries("/proc/self/task")};
}

class Soak {
 public:
  Soak(const Options& options, const fs::path& folder)
      : m_options(options), m_folder(folder), m_server(ServerCommand(options)) {
    TraceLog().SetConsoleEcho(false);
    TraceLog().SetMaxQueueSize(100'000);   // It keeps what room its lines once took.
    TraceLog().SetRotation(2 << 20, 100);  // None is deleted before it was looked at.
  }

  void Run() {
    Check(m_options.connections % (kTurns * m_options.atOnce) == 0 &&
              m_options.messages % (2 * m_options.connections) == 0,
          "the numbers do not go into each other");
    m_server.ReadLine();
    const auto colon = m_server.Output().find(':');
    Check(colon != std::string::npos, "the server does not listen");
    m_port = static_cast<std::uint16_t>(std::stoi(m_server.Output().substr(colon + 1)));
    RunWave();
    const Holdings first = HoldingsNow();
    while (m_connections < m_options.connections) {
      RunWave();
      const Holdings now = HoldingsNow();
      Check(now.heap <= first.heap + kMaxHeapGrowth, "the heap has grown");
      Check(now.descriptors == first.descriptors, "descriptors are left open");
      Check(now.threads == first.threads, "threads are left running");
    }
    JudgeServer();
  }

 private:
  [[nodiscard]] int Each() const { return m_options.messages / 2 / m_options.connections; }

  void RunWave() {
    {
      std::vector<std::unique_ptr<SoakClient>> clients(static_cast<std::size_t>(m_options.atOnce));
      for (auto& client : clients) client = std::make_unique<SoakClient>(m_loop, m_port);
      for (int turn = 0; turn < kTurns; ++turn) {
        for (auto& client : clients) {
          const int way = (m_connections++ + turn) % kWays;
          client->Begin(Each(), static_cast<Way>(way));
          ++m_ends[way];
        }
        while (StepAll(clients)) {
        }
      }
      for (const auto& client : clients) m_heard += client->Heard();
    }
    JudgeTraceLog();
    const Holdings now = HoldingsNow();
    std::printf("%5d connections %7d messages %4ld s: heap %zu, %td descriptors, %td threads\n",
                m_connections, 2 * Each() * m_connections, std::time(nullptr) - m_start, now.heap,
                now.descriptors, now.threads);
  }

  /// False when all are done.
  bool StepAll(const std::vector<std::unique_ptr<SoakClient>>& clients) {
    bool isDone = true;
    bool hasMoved = false;
    for (const auto& client : clients) {
      hasMoved |= client->Step();
      isDone &= client->IsDone();
    }
    m_loop.DispatchOnce(hasMoved || isDone ? 0 : 1000);
    return !isDone;
  }

  void JudgeTraceLog() {
    TraceLog().Flush();
    for (const auto& entry : fs::directory_iterator(m_folder)) {
      m_logged.Add(entry.path());
      fs::remove(entry.path());
    }
    Check(m_logged.connected == m_connections, "the trace log lacks connections");
    Check(m_logged.heard == m_heard, "the trace log lacks messages");
    Check(m_logged.resets <= Refusals(), "the trace log has too many resets");
  }

  void JudgeServer() {
    const auto status = m_server.End();
    const auto line = [](int count, const char* said) {
      return std::to_string(count) + " " + said + "\n";
    };
    const std::string output = m_server.Output().substr(m_server.Output().find('\n') + 1);
    std::fputs(output.c_str(), stdout);
    std::string told = output;
    for (const auto& expected :
         {line(m_connections, "connected"), line(Each() * m_connections, "message"),
          line(Ends(Way::kDisconnect) + Ends(Way::kControlDestroyed), "closed"),
          line(1, "status 0"), line(1, "stopped"), line(Refusals(), "refused:")}) {
      Check(told.find(expected) != told.npos, "the server has counted otherwise");
      told.erase(told.find(expected), expected.size());
    }
    Check(status == 0 && told.empty(), "the server has more to tell");
  }

  [[nodiscard]] int Ends(Way way) const { return m_ends[static_cast<int>(way)]; }
  [[nodiscard]] int Refusals() const { return Ends(Way::kServerCloses) + Ends(Way::kServerResets); }

  const Options m_options;
  const fs::path m_folder;
  const std::time_t m_start = std::time(nullptr);
  conversations::Program m_server;
  std::uint16_t m_port = 0;
  MessageLoop m_loop;
  int m_connections = 0;
  int m_heard = 0;
  int m_ends[kWays] = {};
  TraceLogTally m_logged;
};

}  // namespace
}  // namespace tlk::soak

int main(int argc, char** argv) {
  CLI::App app("Make many connections to a server and send many messages.");
  tlk::soak::Options options;
  app.add_option("--tlk", options.tlk, "The program tlk")->required();
  app.add_option("--connections", options.connections, "How many in all");
  app.add_option("--messages", options.messages, "How many, both ways");
  app.add_option("--at-once", options.atOnce, "How many connections at a time");
  app.add_option("--limit", options.limit, "Fail after so many seconds");
  CLI11_PARSE(app, argc, argv);
  std::signal(SIGALRM, [](int) {
    [[maybe_unused]] const auto written = ::write(2, "soak: not done in time\n", 23);
    ::_exit(1);
  });
  ::alarm(options.limit);
  std::string folder = "/tmp/tlk-soak-XXXXXX";
  tlk::soak::Check(::mkdtemp(folder.data()) != nullptr, "no temporary folder");
  ::setenv("TMPDIR", folder.c_str(), 1);
  tlk::soak::Soak soak(options, folder);
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
