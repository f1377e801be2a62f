#include "bench/Comparison.h"

#include <sched.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <ctime>

namespace tlk::bench {
namespace {

double Median(std::vector<double> figures) {
  const auto middle = figures.begin() + static_cast<std::ptrdiff_t>(figures.size() / 2);
  std::nth_element(figures.begin(), middle, figures.end());
  return *middle;
}

/// The processors of the process, as they are before any thread is pinned.
const cpu_set_t kAllowed = [] {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  sched_getaffinity(0, sizeof allowed, &allowed);
  return allowed;
}();

/// The figures of one contestant, round for round.
struct Record {
  const Contestant* contestant;
  std::vector<double> figures;
};

std::vector<Record> Race(const std::vector<const Contestant*>& contestants, int rounds) {
  std::vector<Record> records;
  records.reserve(contestants.size());
  for (const Contestant* contestant : contestants) records.push_back({contestant, {}});
  for (int round = -1; round < rounds; ++round) {
    for (std::size_t i = 0; i < records.size(); ++i) {
      const std::size_t place = (i + static_cast<std::size_t>(round + 1)) % records.size();
      const double figure = records[place].contestant->round();
      if (round >= 0) records[place].figures.push_back(figure);
    }
  }
  return records;
}

double MedianRatio(const Record& ours, const Record& rival) {
  std::vector<double> ratios;
  for (std::size_t round = 0; round < ours.figures.size(); ++round)
    ratios.push_back(ours.figures[round] / rival.figures[round]);
  return Median(ratios);
}

bool IsMet(Better better, double value, double bound) {
  return better == Better::kMore ? value >= bound : value <= bound;
}

const char* Sense(Better better) { return better == Better::kMore ? ">=" : "<="; }

void PrintOpening(const std::string& subject, const std::string& what, const std::string& unit,
                  double ours) {
  std::printf(R"({"subject":"%s","what":"%s","unit":"%s","ours":%.6g)", subject.c_str(),
              what.c_str(), unit.c_str(), ours);
}

/// Prints a member of the line for a rival; tells whether its bound is met.
bool PrintRival(const char* kind, Better better, const Record& ours, const Record& rival,
                double bound) {
  const double ratio = MedianRatio(ours, rival);
  const bool met = IsMet(better, ratio, bound);
  std::printf(R"({"kind":"%s","name":"%s","figure":%.6g,"ratio":%.4g,"bound":"%s %g","met":%s})",
              kind, rival.contestant->name.c_str(), Median(rival.figures), ratio, Sense(better),
              bound, met ? "true" : "false");
  return met;
}

}  // namespace

void Compare(const Comparison& comparison) {
  const Contestant own = {"ours", comparison.ours};
  std::vector<const Contestant*> contestants = {&own};
  for (const Bounded& limit : comparison.limits) contestants.push_back(&limit.rival);
  for (const Bounded& peer : comparison.peers) contestants.push_back(&peer.rival);
  const std::vector<Record> records = Race(contestants, comparison.rounds);

  PrintOpening(comparison.subject, comparison.what, comparison.unit, Median(records[0].figures));
  std::printf(R"(,"rivals":[)");
  bool met = true;
  for (std::size_t i = 1; i < records.size(); ++i) {
    const bool isLimit = i <= comparison.limits.size();
    const Bounded& bounded =
        isLimit ? comparison.limits[i - 1] : comparison.peers[i - 1 - comparison.limits.size()];
    if (i > 1) std::printf(",");
    const bool thisMet = PrintRival(isLimit ? "limit" : "peer", comparison.better, records[0],
                                    records[i], bounded.bound);
    met = met && thisMet;
  }
  std::printf(R"(],"met":%s})"
              "\n",
              met ? "true" : "false");
  std::fflush(stdout);
}

void ShowFigure(const std::string& subject, const std::string& what, const std::string& unit,
                Better better, double figure, double bound) {
  PrintOpening(subject, what, unit, figure);
  std::printf(R"(,"rivals":[],"bound":"%s %g","met":%s})"
              "\n",
              Sense(better), bound, IsMet(better, figure, bound) ? "true" : "false");
  std::fflush(stdout);
}

void PinToProcessor(int processor) {
  int last = -1;
  for (int i = 0, seen = 0; i < CPU_SETSIZE && seen <= processor; ++i) {
    if (!CPU_ISSET(i, &kAllowed)) continue;
    last = i;
    ++seen;
  }
  cpu_set_t chosen;
  CPU_ZERO(&chosen);
  if (last >= 0) CPU_SET(last, &chosen);
  sched_setaffinity(0, sizeof chosen, &chosen);
}

double Seconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace tlk::bench
