// Two processes that write one log and rotate it, as two hosts of one user do:
//
//     two_processes LINES ROUNDS COVERED
//
// Each writes so many numbered lines with a limit that a hundred of them pass, so that both rotate
// all the time; they used to delete what the other had just moved. Every line is in one of the
// files, whole, and nowhere else, but for COVERED of them where the system appends in two steps, as
// Wine does: a lost file is eighty. A busy machine covers more, so one round of them is enough
// there. With a label for a fourth argument it is one of the two.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <string>

#include "log/QNLogger.h"

namespace tlk::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFolder = "two-processes";

void Write(const std::string& label, int lines) {
  auto& log = *new QNLogger("shared.log", 4);  // Not destroyed: that would take a second.
  log.SetDirectory(kFolder);
  log.SetConsoleEcho(false);
  log.SetRotation(5000, 2 * lines / 80 + 2);  // Files enough, of eighty lines at least.
  for (int n = 0; n < lines; ++n) log.Write(label + std::to_string(n));
  std::_Exit(log.Flush() == 0 ? 0 : 1);
}

/// How many lines are not there exactly once, and how many are there that nobody wrote.
int CountFaults(int lines) {
  std::map<std::string, int> counts;
  for (const char* label : {"first", "second"})
    for (int n = 0; n < lines; ++n) counts[label + std::to_string(n)] = -1;
  for (const auto& entry : fs::directory_iterator(kFolder)) {
    std::ifstream file(entry.path());
    for (std::string line; std::getline(file, line);) {
      if (line.ends_with('\r')) line.pop_back();
      ++counts[line.substr(line.rfind(' ') + 1)];  // Without time and thread.
    }
  }
  counts.erase(std::string(28, '-'));  // The queue may have been full now and then.
  return static_cast<int>(std::ranges::count_if(counts, [](auto& c) { return c.second != 0; }));
}

bool WriteTogether(const std::string& command, int lines, int covered) {
  fs::remove_all(kFolder);
  fs::create_directory(kFolder);
  const auto run = [&](const char* label) { return std::system((command + label).c_str()); };
  auto second = std::async(std::launch::async, run, " second");
  const bool areDone = run(" first") == 0 && second.get() == 0;
  const auto files = std::distance(fs::directory_iterator(kFolder), fs::directory_iterator());
  const int faults = CountFaults(lines);
  std::printf("%d lines in %d files, %d lost, torn or doubled\n", 2 * lines,
              static_cast<int>(files), faults);
  fs::remove_all(kFolder);
  return areDone && faults <= covered && files > lines / 500;
}

}  // namespace
}  // namespace tlk::test

int main(int count, char** arguments) {
  using namespace tlk::test;
  if (count < 4) return 2;
  const int lines = std::atoi(arguments[1]);
  if (count > 4) Write(arguments[4], lines);
  const int rounds = std::atoi(arguments[2]);
  const int covered = std::atoi(arguments[3]);
  const std::string command = std::string(arguments[0]) + " " + arguments[1] + " 1 0";
  int whole = 0;
  for (int round = 0; round < rounds && (covered == 0 || whole == 0); ++round)
    whole += WriteTogether(command, lines, covered);
  return whole == (covered == 0 ? rounds : 1) ? 0 : 1;
}
