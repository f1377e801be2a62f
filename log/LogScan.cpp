#include "log/LogScan.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "platform/Files.h"

namespace tlk {

namespace {

// A longer line is read in pieces, each a line of its own.
constexpr std::size_t kLongestLine = 8191;
constexpr std::size_t kMarkWithin = 50;

// The thread number in parentheses stands directly before the mark, near the start of the line.
bool HasMark(std::string_view line, std::string_view mark) { return line.find(mark) < kMarkWithin; }

// Puts lines together from the pieces of a file.
class Lines {
 public:
  explicit Lines(LineList& found) : m_found(found) {}

  void Take(std::string_view piece) {
    while (!piece.empty()) {
      const std::string_view part = piece.substr(0, kLongestLine - m_line.size());
      const std::size_t feed = part.find('\n');
      const std::size_t length = feed == part.npos ? part.size() : feed + 1;
      m_line += part.substr(0, length);
      piece.remove_prefix(length);
      if (feed != part.npos || m_line.size() == kLongestLine) End();
    }
  }

  // A line's text ends at a zero byte.
  void End() {
    std::string_view text = m_line.c_str();
    if (HasMark(text, ") E ") || HasMark(text, ") W ")) {
      std::string& line = m_found.emplace_back(text);
      std::ranges::replace_if(
          line, [](char c) { return c == '\r' || c == '\n'; }, ' ');
    }
    m_line.clear();
  }

 private:
  LineList& m_found;
  std::string m_line;
};

}  // namespace

std::int32_t ScanLogFile(Files& files, const std::string& path, LineList& lines) {
  Lines found(lines);
  if (!files.Read(path, [&found](std::string_view piece) { found.Take(piece); }))
    return iLogger::kScanNotOpened;
  found.End();
  return iLogger::kScanDone;
}

}  // namespace tlk
