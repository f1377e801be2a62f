// The commands of `tlk host`: a line is a command or wrong, and says the same when its words are
// written out again.

#include <algorithm>
#include <sstream>
#include <vector>

#include "fuzz/Fuzzing.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/host/CommandReader.h"

namespace tlk::fuzz {
namespace {

using host::Command;

bool AreSame(const Command& one, const Command& other) {
  const auto isSame = [](const Argument& a, const Argument& b) {
    return a.text == b.text && a.number == b.number && a.number == a.Signed();
  };
  const bool hasHandler = one.kind == host::CommandKind::kOn;
  return one.kind == other.kind && hasHandler == (one.handler != nullptr) &&
         std::ranges::equal(one.arguments, other.arguments, isSame) &&
         (!hasHandler || AreSame(*one.handler, *other.handler));
}

void CheckLine(const std::string& line) {
  const auto read = host::ReadCommand(line);
  Check(!read.command || read.error.empty(), "a line is a command or wrong");
  Check(std::ranges::all_of(read.error, [](char c) { return c >= ' ' && c <= '~'; }),
        "what is wrong can be printed");
  std::vector<std::string> words;
  std::string error;
  const bool isSplit = SplitCommand(line, words, error);
  Check(isSplit || read.error == error, "a line that cannot be split is told so");
  Check((isSplit && words.empty()) == (!read.command && read.error.empty()), "nothing is nothing");
  if (!isSplit) return;
  std::string written;
  for (const auto& word : words) written.append(Quote(word)).append("\t");
  const auto again = host::ReadCommand(written);
  Check(again.error == read.error && again.command.has_value() == read.command.has_value() &&
            (!read.command || AreSame(*read.command, *again.command)),
        "a line says the same when it is written out again");
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tlk::fuzz::Input input(data, size);
  std::istringstream lines(input.Rest());
  for (std::string line; std::getline(lines, line);) tlk::fuzz::CheckLine(line);
  return 0;
}
