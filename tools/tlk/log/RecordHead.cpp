#include <charconv>
#include <chrono>

#include "tools/tlk/log/Record.h"

namespace tlk::log {
namespace {

constexpr std::string_view kStampForm = "00/00/0000 00:00:00.000";
constexpr std::string_view kBeforeThread = "  (";
constexpr std::string_view kBeforeMark = ") ";
constexpr std::string_view kBeforeLine = " - ";
constexpr std::string_view kBeforeSource = " (";

constexpr bool IsDigit(char character) { return character >= '0' && character <= '9'; }

bool HasStampForm(std::string_view line) {
  // Most lines that begin no record are told by one look.
  if (line.size() < kStampForm.size() || line[2] != '/') return false;
  for (std::size_t i = 0; i < kStampForm.size(); ++i) {
    if (kStampForm[i] == '0' ? !IsDigit(line[i]) : line[i] != kStampForm[i]) return false;
  }
  return true;
}

int Number(std::string_view digits) {
  int number = 0;
  for (const char digit : digits) number = 10 * number + (digit - '0');
  return number;
}

bool ReadStamp(std::string_view stamp, Moment& moment) {
  const LocalTime time{.year = Number(stamp.substr(6, 4)),
                       .month = Number(stamp.substr(0, 2)),
                       .day = Number(stamp.substr(3, 2)),
                       .hour = Number(stamp.substr(11, 2)),
                       .minute = Number(stamp.substr(14, 2)),
                       .second = Number(stamp.substr(17, 2)),
                       .millisecond = Number(stamp.substr(20, 3))};
  if (time.month < 1 || time.month > 12 || time.day < 1 || time.day > 31 || time.hour > 23 ||
      time.minute > 59 || time.second > 60) {
    return false;
  }
  moment = MomentOf(time);
  return true;
}

}  // namespace

bool ReadHead(std::string_view line, RecordHead& head) {
  if (!HasStampForm(line)) return false;
  head.stamp = line.substr(0, kStampForm.size());
  std::string_view rest = line.substr(kStampForm.size());
  if (!rest.starts_with(kBeforeThread)) return false;
  rest.remove_prefix(kBeforeThread.size());
  const auto [end, code] = std::from_chars(rest.data(), rest.data() + rest.size(), head.thread);
  if (code != std::errc{}) return false;
  rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
  if (!rest.starts_with(kBeforeMark) || !ReadStamp(head.stamp, head.time)) return false;
  rest.remove_prefix(kBeforeMark.size());
  const bool isMarked =
      rest.size() >= 2 && rest[1] == ' ' && (rest[0] == 'N' || rest[0] == 'E' || rest[0] == 'W');
  head.mark = isMarked ? rest[0] : '\0';
  head.length = line.size() - rest.size() + (isMarked ? 2 : 0);
  return true;
}

bool ReadSource(std::string_view line, RecordSource& source) {
  if (!line.ends_with(')')) return false;
  const std::size_t dash = line.rfind(kBeforeLine);
  if (dash == line.npos) return false;
  const char* const end = line.data() + line.size() - 1;
  const char* const digits = line.data() + dash + kBeforeLine.size();
  const auto [stop, code] = std::from_chars(digits, end, source.line);
  if (code != std::errc{} || stop != end) return false;
  source.begin = line.rfind(kBeforeSource, dash);
  if (source.begin == line.npos) return false;
  const std::size_t name = source.begin + kBeforeSource.size();
  if (name > dash) return false;
  source.name = line.substr(name, dash - name);
  return true;
}

std::string_view WithoutEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  while (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

std::string_view TakeLine(std::string_view& text) {
  const std::size_t feed = text.find('\n');
  const std::string_view line = text.substr(0, feed);
  text.remove_prefix(feed == text.npos ? text.size() : feed + 1);
  return WithoutEnd(line);
}

}  // namespace tlk::log
