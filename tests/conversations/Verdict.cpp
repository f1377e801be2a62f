#include "tests/conversations/Verdict.h"

#include <algorithm>
#include <cstdio>
#include <regex>
#include <span>

#include "tools/tlk/serve/Indentation.h"

namespace tlk::conversations {
namespace {

using serve::kQuotedIndentation;
using serve::kRecordIndentation;
using serve::WithoutIndentation;

constexpr std::string_view kAbsent = "absent ";
constexpr std::size_t kShownLength = 400;

std::string Escape(std::string_view text) {
  std::string escaped;
  for (const char byte : text) {
    if (byte >= ' ' && byte <= '~') {
      escaped += byte;
      continue;
    }
    if (byte == '\n') {
      escaped += "\\n";
      continue;
    }
    char code[8];
    std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned char>(byte));
    escaped += code;
  }
  return escaped;
}

bool LineFits(std::string_view pattern, std::string_view line) {
  const auto star = pattern.find('*');
  if (star == std::string_view::npos || !line.starts_with(pattern.substr(0, star))) {
    return pattern == line;
  }
  pattern.remove_prefix(star + 1);
  for (auto covered = star; covered <= line.size(); ++covered) {
    if (LineFits(pattern, line.substr(covered))) return true;
  }
  return false;
}

/// Text files have a carriage return before each line feed, also where one was there already.
std::string UndoTextMode(std::string_view text) {
  std::string undone;
  for (auto end = text.find("\r\n"); end != std::string_view::npos; end = text.find("\r\n")) {
    undone += text.substr(0, end);
    undone += '\n';
    text.remove_prefix(end + 2);
  }
  return undone.append(text);
}

/// A line that does not begin with time and thread goes on with the record before it.
Lines SplitRecords(std::string_view log) {
  static const std::regex stamp(R"(\d\d/\d\d/\d{4} \d\d:\d\d:\d\d\.\d{3}  \(\d+\) )");
  Lines records;
  for (const auto& line : SplitLines(log)) {
    std::smatch found;
    if (std::regex_search(line, found, stamp, std::regex_constants::match_continuous)) {
      records.push_back(found.suffix());
    } else if (records.empty()) {
      records.push_back(line);
    } else {
      records.back() += "\n" + line;
    }
  }
  return records;
}

using SomeLines = std::span<const std::string>;

bool LinesFit(SomeLines patterns, SomeLines lines) {
  if (patterns.empty()) return lines.empty();
  const auto rest = patterns.subspan(1);
  if (patterns.front() == "*" && LinesFit(rest, lines)) return true;
  if (lines.empty() || !LineFits(patterns.front(), lines.front())) return false;
  return LinesFit(patterns.front() == "*" ? patterns : rest, lines.subspan(1));
}

}  // namespace

std::string Shorten(const std::string& text) {
  return text.size() > kShownLength ? text.substr(0, kShownLength) + "..." : text;
}

Lines SplitLines(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

Lines ReadOutput(std::string_view output, HostSystem system) {
  if (system == HostSystem::kNative) return SplitLines(output);
  auto lines = SplitLines(UndoTextMode(output));
  for (auto& line : lines) line = WithoutIndentation(line, kQuotedIndentation);
  return lines;
}

Lines ReadRecords(std::string_view log, HostSystem system) {
  const bool native = system == HostSystem::kNative;
  auto records = SplitRecords(native ? std::string(log) : UndoTextMode(log));
  for (auto& record : records) {
    record = Escape(native ? record : WithoutIndentation(record, kRecordIndentation));
  }
  return records;
}

/// Up to the first star the lines can be told one by one.
std::string JudgeOutput(const Lines& expected, const Lines& lines) {
  if (LinesFit(expected, lines)) return {};
  for (std::size_t at = 0; at < expected.size() && expected[at] != "*"; ++at) {
    const auto line = at < lines.size() ? lines[at] : "no such line";
    if (at >= lines.size() || !LineFits(expected[at], line)) {
      return "expected line " + std::to_string(at + 1) + "\n    " + Shorten(expected[at]) +
             "\n  and there is\n    " + Shorten(line);
    }
  }
  return "there are other lines than expected, or more";
}

std::string JudgeLog(const Lines& expected, const Lines& records) {
  auto next = records.begin();
  for (const auto& line : expected) {
    const bool absent = line.starts_with(kAbsent);
    const auto pattern = absent ? line.substr(kAbsent.size()) : line;
    const auto fits = [&](const auto& record) { return LineFits(pattern, record); };
    const auto found = std::find_if(absent ? records.begin() : next, records.end(), fits);
    if (absent && found != records.end()) return "there, but should not be: " + Shorten(pattern);
    if (!absent && found == records.end()) {
      return "not there, or not in its turn: " + Shorten(pattern);
    }
    if (!absent) next = found + 1;
  }
  return {};
}

}  // namespace tlk::conversations
