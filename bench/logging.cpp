// The log: how fast its writer writes, and what a record costs the thread that logs it.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>

#include "bench/Comparison.h"
#include "bench/LogContestants.h"
#include "bench/LogDrain.h"
#include "log/RecordFormat.h"
#include "platform/Platform.h"
#include "platform/Surroundings.h"
#include "platform/Synchronisation.h"

namespace tlk::bench {
namespace {

constexpr const char* kSubject = "logging";

// What the queue holds without holding the producer back; no file grows to where it is rotated.
constexpr int kFill = 3'000;
constexpr int kFills = 101;

// A round is one burst, so that the bursts of both take turns.
constexpr int kBursts = 401;

/// The rate of `write` alone, which writes to a new file what has been prepared before.
double LinesPerSecond(const TemporaryFolder& folder, const std::function<void()>& write) {
  folder.Empty();
  const double start = Seconds();
  write();
  return kFill / (Seconds() - start);
}

std::string LineToAppend() {
  const Platform& platform = SystemPlatform();
  const RecordStamp stamp(platform.surroundings.Now(), platform.synchronisation.CurrentThreadId(),
                          severity_mark::kNormal);
  std::string line(stamp.View());
  line.append(kRecordText).append(" (").append(kSource);
  return line.append(" - ").append(std::to_string(kSourceLine)).append(")\n");
}

// All on one processor: the producer waits while the writer writes.
void CompareDrain(const TemporaryFolder& folder) {
  HeldLog log(folder.Path());
  const std::string line = LineToAppend();
  const auto own = [&] {
    log.Fill(kFill);
    return LinesPerSecond(folder, [&] { log.Drain(); });
  };
  const auto bare = [&] {
    return LinesPerSecond(folder, [&] { AppendByHand(folder.Path() + "/own.log", line, kFill); });
  };
  Compare({.subject = kSubject,
           .what = "lines of a full queue, written",
           .unit = "lines/s",
           .better = Better::kMore,
           .ours = own,
           .limits = {{{"open, append, size, close", bare}, 0.95}},
           .peers = {},
           .rounds = kFills});
}

/// The nanoseconds that so many of a hundred records of a burst do not exceed. Behind the burst
/// everybody falls asleep again.
template <typename Log>
double RecordTime(Log& log, std::size_t percent) {
  std::array<double, 1'000> each;
  for (double& one : each) {
    const double start = Seconds();
    log.Record();
    one = (Seconds() - start) * 1e9;
  }
  log.Drain();
  std::this_thread::sleep_for(std::chrono::microseconds(200));
  const auto place = each.begin() + each.size() * percent / 100;
  std::nth_element(each.begin(), place, each.end());
  return *place;
}

void CompareBursts(OwnLog& own, SpdLog& rival, const std::string& what, std::size_t percent,
                   double bound) {
  Compare({.subject = kSubject,
           .what = what,
           .unit = "ns",
           .better = Better::kLess,
           .ours = [&] { return RecordTime(own, percent); },
           .limits = {},
           .peers = {{{"spdlog, asynchronous", [&] { return RecordTime(rival, percent); }}, bound}},
           .rounds = kBursts});
}

void Run() {
  const TemporaryFolder folder;
  const TemporaryFolder rivalFolder;
  OwnLog own(folder.Path());
  SpdLog rival(rivalFolder.Path());
  PinToProcessor(0);  // The writers have been started, and run wherever they like.
  CompareBursts(own, rival, "a record in a burst of 1,000, median", 50, 1.0);
  CompareBursts(own, rival, "a record in a burst of 1,000, 99th percentile", 99, 0.5);
  CompareDrain(folder);
}

}  // namespace
}  // namespace tlk::bench

int main() { tlk::bench::Run(); }
