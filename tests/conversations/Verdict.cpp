#include "tests/conversations/Verdict.h"

#include <algorithm>
#include <string_view>

#include "tests/conversations/Pattern.h"

namespace tlk::conversations {
namespace {

constexpr std::string_view kAbsent = "absent ";
constexpr std::size_t kShownLength = 400;

bool Begins(const std::string& text, std::string_view begin) { return text.rfind(begin, 0) == 0; }

}  // namespace

std::string Shorten(const std::string& text) {
  return text.size() > kShownLength ? text.substr(0, kShownLength) + "..." : text;
}

/// Up to the first star the lines can be told one by one.
std::string JudgeOutput(const std::vector<std::string>& expected,
                        const std::vector<std::string>& lines) {
  if (LinesFit(expected, lines)) {
    return {};
  }
  for (std::size_t at = 0; at < expected.size() && expected[at] != "*"; ++at) {
    if (at >= lines.size() || !LineFits(expected[at], lines[at])) {
      return "expected line " + std::to_string(at + 1) + "\n    " + Shorten(expected[at]) +
             "\n  and there is\n    " + (at < lines.size() ? Shorten(lines[at]) : "no such line");
    }
  }
  return "there are other lines than expected, or more";
}

std::string JudgeLog(const std::vector<std::string>& expected,
                     const std::vector<std::string>& records) {
  auto next = records.begin();
  for (const auto& line : expected) {
    const bool absent = Begins(line, kAbsent);
    const auto pattern = absent ? line.substr(kAbsent.size()) : line;
    const auto fits = [&](const auto& record) { return LineFits(pattern, record); };
    if (absent && std::any_of(records.begin(), records.end(), fits)) {
      return "there, but should not be: " + Shorten(pattern);
    }
    if (absent) {
      continue;
    }
    next = std::find_if(next, records.end(), fits);
    if (next == records.end()) {
      return "not there, or not in its turn: " + Shorten(pattern);
    }
    ++next;
  }
  return {};
}

}  // namespace tlk::conversations
