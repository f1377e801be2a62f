// The log: how fast its writer writes, and what a record costs the thread that logs it.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

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

// Fewer bytes than a file holds: neither side rotates.
constexpr int kDrainedLines = 13'000;

constexpr std::size_t kBurst = 1'000;
constexpr int kBursts = 20;

double LinesPerSecond(const TemporaryFolder& folder, const std::function<void()>& write) {
  folder.Empty();
  const double start = Seconds();
  write();
  return kDrainedLines / (Seconds() - start);
}

std::string LineToAppend() {
  const Platform& platform = SystemPlatform();
  const RecordStamp stamp(platform.surroundings.Now(), platform.synchronisation.CurrentThreadId());
  std::string line(stamp.View());
  line.append(severity_mark::kNormal).append(kRecordText).append(" (").append(kSource);
  return line.append(" - ").append(std::to_string(kSourceLine)).append(")\n");
}

void CompareDrain(OwnLog& log, const TemporaryFolder& folder) {
  const std::string line = LineToAppend();
  const auto own = [&] {
    for (int i = 0; i < kDrainedLines; ++i) log.Record();
    log.Drain();
  };
  const auto bare = [&] { AppendByHand(folder.Path() + "/own.log", line, kDrainedLines); };
  Compare({.subject = kSubject,
           .what = "lines written, from the first record to the end of Flush",
           .unit = "lines/s",
           .better = Better::kMore,
           .ours = [&] { return LinesPerSecond(folder, own); },
           .limits = {{{"open, append, size, close", [&] { return LinesPerSecond(folder, bare); }},
                       0.95}},
           .peers = {},
           .rounds = 21});
}

/// Nanoseconds of each record of a burst, after which everybody has fallen asleep again.
template <typename Log>
void AddBurst(Log& log, std::vector<double>& each) {
  for (std::size_t i = 0; i < kBurst; ++i) {
    const double start = Seconds();
    log.Record();
    each.push_back((Seconds() - start) * 1e9);
  }
  log.Drain();
  std::this_thread::sleep_for(std::chrono::microseconds(200));
}

/// The time that so many of a hundred records do not exceed.
template <typename Log>
double RecordTime(Log& log, std::size_t percent) {
  std::vector<double> each;
  each.reserve(kBurst * kBursts);
  for (int i = 0; i < kBursts; ++i) AddBurst(log, each);
  const auto place = each.begin() + static_cast<std::ptrdiff_t>(each.size() * percent / 100);
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
           .rounds = 21});
}

void Run() {
  const TemporaryFolder folder;
  const TemporaryFolder rivalFolder;
  OwnLog own(folder.Path());
  SpdLog rival(rivalFolder.Path());
  PinToProcessor(0);  // The writers have been started, and run wherever they like.
  CompareDrain(own, folder);
  CompareBursts(own, rival, "a record in a burst of 1,000, median", 50, 1.0);
  CompareBursts(own, rival, "a record in a burst of 1,000, 99th percentile", 99, 0.5);
}

}  // namespace
}  // namespace tlk::bench

int main() { tlk::bench::Run(); }
