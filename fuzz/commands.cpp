// The commands of `tlk host`: a line is a command or wrong, it is the same in whatever pieces it
// comes, and what it says stays the same when its words are written out again.

#include <algorithm>
#include <vector>

#include "fuzz/Fuzzing.h"
#include "tools/tlk/LineReader.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/host/CommandReader.h"

namespace tlk::fuzz {
namespace {

using host::Command;

std::vector<std::string> Lines(std::string_view text, std::size_t piece) {
  LineReader reader([&](std::string& bytes) {
    bytes += text.substr(0, piece);
    const bool more = !text.empty();
    text.remove_prefix(std::min(piece, text.size()));
    return more;
  });
  std::vector<std::string> lines;
  for (std::string line; reader.Next(line);) lines.push_back(line);
  return lines;
}

bool IsSame(const Argument& one, const Argument& other) {
  return one.text == other.text && one.number == other.number && one.number == one.Signed();
}

bool IsSame(const Command& one, const Command& other) {
  if (one.kind != other.kind || !one.handler != !other.handler) return false;
  if (!one.handler != (one.kind != host::CommandKind::kOn)) return false;
  return std::ranges::equal(one.arguments, other.arguments,
                            [](const auto& a, const auto& b) { return IsSame(a, b); }) &&
         (!one.handler || IsSame(*one.handler, *other.handler));
}

void CheckLine(const std::string& line) {
  const auto read = host::ReadCommand(line);
  Check(!read.command || read.error.empty(), "a line is a command or wrong");
  Check(std::ranges::all_of(read.error, [](char c) { return c >= ' ' && c <= '~'; }),
        "what is wrong can be printed");
  std::vector<std::string> words;
  std::string error;
  if (!SplitCommand(line, words, error)) {
    Check(!read.command && read.error == error, "a line that cannot be split is told so");
    return;
  }
  if (words.empty()) return Check(!read.command && read.error.empty(), "a blank line is nothing");
  std::string written;
  for (const auto& word : words) written.append(Quote(word)).append(" ");
  const auto again = host::ReadCommand(written);
  Check(again.error == read.error, "written out again, it is as wrong as before");
  Check(!read.command || IsSame(*read.command, *again.command), "written out, it is the same");
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  Input input(data, size);
  const std::size_t piece = input.Byte() + std::size_t{1};
  const std::string text = input.Rest();
  const auto lines = Lines(text, piece);
  Check(lines == Lines(text, text.size() + 1), "lines are the same in pieces of any size");
  for (const auto& line : lines) CheckLine(line);
  return 0;
}
