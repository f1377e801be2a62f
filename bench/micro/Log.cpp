#include <benchmark/benchmark.h>

#include "log/QNLogger.h"
#include "platform/posix/PosixStringTable.h"

namespace tlk::bench {
namespace {

constexpr std::uint32_t kNumber = 101;

/// A record as the trace log makes them; at a level of 9 it is dropped.
void Record(benchmark::State& state) {
  SystemStringTable().Register("bench", kNumber, "%s");
  QNLogger log("/dev/null", 4);
  log.SetConsoleEcho(false);
  const auto level = static_cast<std::int32_t>(state.range(0));
  const ModuleHandle module = SystemStringTable().FindModule("bench");
  for ([[maybe_unused]] auto _ : state)
    log.LogNormal(module, level, kNumber, "Tlkc", 68, "Disconnect requested.");
}

BENCHMARK(Record)->ArgName("level")->Arg(4)->Arg(9);

}  // namespace
}  // namespace tlk::bench
