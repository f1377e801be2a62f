#include "tests/conversations/Pattern.h"

#include <algorithm>

namespace tlk::conversations {
namespace {

/// How every record begins; `0` is any digit.
constexpr std::string_view kStampShape = "00/00/0000 00:00:00.000  (";

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

/// Where the record's mark stands in its first line, behind time and thread; npos when the line
/// begins no record but goes on with one.
std::size_t FindMark(std::string_view line) {
  if (line.size() < kStampShape.size()) {
    return std::string_view::npos;
  }
  for (std::size_t at = 0; at < kStampShape.size(); ++at) {
    if (kStampShape[at] == '0' ? !IsDigit(line[at]) : line[at] != kStampShape[at]) {
      return std::string_view::npos;
    }
  }
  const auto mark = line.find(") ", kStampShape.size());
  return mark == std::string_view::npos ? mark : mark + 2;
}

std::string Escape(std::string_view text) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  std::string escaped;
  for (const char byte : text) {
    const auto number = static_cast<unsigned char>(byte);
    if (byte == '\n') {
      escaped += "\\n";
    } else if (byte == '\\') {
      escaped += "\\\\";
    } else if (number < 0x20 || number > 0x7E) {
      escaped += {'\\', 'x', kHexDigits[number >> 4U], kHexDigits[number & 0xFU]};
    } else {
      escaped += byte;
    }
  }
  return escaped;
}

}  // namespace

bool LineFits(std::string_view pattern, std::string_view line) {
  return FitsPattern(
      pattern, line, [](char sign) { return sign == '*'; },
      [](char sign, char byte) { return sign == byte; });
}

bool LinesFit(std::span<const std::string> patterns, std::span<const std::string> lines) {
  return FitsPattern(
      patterns, lines, [](const std::string& pattern) { return pattern == "*"; }, LineFits);
}

std::vector<std::string> ReadRecords(std::string_view log) {
  std::vector<std::string> records;
  for (const auto& line : SplitLines(log)) {
    const auto mark = FindMark(line);
    if (mark != std::string::npos) {
      records.push_back(Escape(std::string_view(line).substr(mark)));
    } else if (!records.empty()) {
      records.back() += "\\n" + Escape(line);
    } else {
      records.push_back(Escape(line));
    }
  }
  return records;
}

std::vector<std::string> SplitLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

}  // namespace tlk::conversations
