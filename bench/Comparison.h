#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tlk::bench {

/// One way to do the work of a subject. A round does it once, in any amount that suits it, and
/// returns its figure: a rate or a time, of the unit that the comparison names.
struct Contestant {
  std::string name;
  std::function<double()> round;
};

/// What the figure of this project may be of a rival's: at least so much of a rate, at most so much
/// of a time.
struct Bounded {
  Contestant rival;
  double bound = 1;
};

enum class Better { kMore, kLess };

/// A line of the table.
struct Comparison {
  std::string subject;  ///< As `--only` names it.
  std::string what;
  std::string unit;
  Better better = Better::kLess;
  std::function<double()> ours;
  std::vector<Bounded> limits;  ///< What no implementation can beat, at most one.
  std::vector<Bounded> peers;   ///< What others have made.
  int rounds = 9;
};

/// Runs all contestants in turn, round for round, after a first round that does not count, and
/// prints the line: the median of each figure, and the median over the rounds of the ratio to each
/// rival, because the machine drifts more from round to round than within one. The contestants
/// change their places from round to round.
///
/// The line is one JSON object, for scripts/bench.sh to gather.
void Compare(const Comparison& comparison);

/// Prints a line for a figure that was taken some other way; `bound` is one on the figure itself.
void ShowFigure(const std::string& subject, const std::string& what, const std::string& unit,
                Better better, double figure, double bound);

/// Lets the calling thread run on one processor alone, counted from 0 among those that the process
/// may use; with fewer processors, on the last.
void PinToProcessor(int processor);

/// Seconds since some fixed moment.
[[nodiscard]] double Seconds();

/// Nanoseconds that one call of `work` takes, which does its operation `count` times.
template <typename Work>
[[nodiscard]] double NanosecondsEach(int count, Work work) {
  const double start = Seconds();
  work(count);
  return (Seconds() - start) * 1e9 / count;
}

/// Hides a value from the optimiser, so that the work behind it is done.
template <typename T>
void Keep(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}

}  // namespace tlk::bench
