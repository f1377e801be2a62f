#include "tools/tlk/log/LogTime.h"

#include <charconv>
#include <chrono>

namespace tlk::log {
namespace {

/// Takes a text apart from its front. What does not fit leaves it failed.
class Reading {
 public:
  explicit Reading(std::string_view text) : m_left(text) {}

  [[nodiscard]] bool IsDone() const { return m_fits && m_left.empty(); }
  [[nodiscard]] bool IsAtEnd() const { return m_left.empty(); }

  bool Skip(char expected) {
    if (!m_left.starts_with(expected)) return false;
    m_left.remove_prefix(1);
    return true;
  }

  void Need(char expected) { m_fits = Skip(expected) && m_fits; }

  /// A number of exactly so many digits, at most `most`.
  int Number(std::size_t digits, int most) {
    int number = -1;
    const std::string_view text = m_left.substr(0, digits);
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isRead = code == std::errc{} && end == text.data() + digits;
    m_fits = m_fits && isRead && number >= 0 && number <= most;
    m_left.remove_prefix(text.size());
    return number;
  }

  /// A time of a day; the seconds and the milliseconds may be missing.
  void TimeOfDay(LocalTime& time) {
    time.hour = Number(2, 23);
    Need(':');
    time.minute = Number(2, 59);
    time.second = Skip(':') ? Number(2, 59) : 0;
    time.millisecond = Skip('.') ? Number(3, 999) : 0;
  }

 private:
  std::string_view m_left;
  bool m_fits = true;
};

std::optional<Moment> Result(const Reading& reading, const LocalTime& time) {
  const std::chrono::year_month_day date(std::chrono::year(time.year),
                                         std::chrono::month(static_cast<unsigned>(time.month)),
                                         std::chrono::day(static_cast<unsigned>(time.day)));
  if (!reading.IsDone() || !date.ok()) return std::nullopt;
  return MomentOf(time);
}

/// What may stand behind a date.
void ReadTimeBehind(Reading& reading, LocalTime& time) {
  time.hour = time.minute = time.second = time.millisecond = 0;
  if (reading.IsAtEnd()) return;
  if (!reading.Skip('T')) reading.Need(' ');
  reading.TimeOfDay(time);
}

std::optional<Moment> ParseLogTime(std::string_view word, LocalTime time) {
  Reading reading(word);
  time.month = reading.Number(2, 12);
  reading.Need('/');
  time.day = reading.Number(2, 31);
  reading.Need('/');
  time.year = reading.Number(4, 9999);
  ReadTimeBehind(reading, time);
  return Result(reading, time);
}

std::optional<Moment> ParseIsoTime(std::string_view word, LocalTime time) {
  Reading reading(word);
  time.year = reading.Number(4, 9999);
  reading.Need('-');
  time.month = reading.Number(2, 12);
  reading.Need('-');
  time.day = reading.Number(2, 31);
  ReadTimeBehind(reading, time);
  return Result(reading, time);
}

std::optional<Moment> ParseTimeOfToday(std::string_view word, LocalTime time) {
  Reading reading(word);
  reading.TimeOfDay(time);
  return Result(reading, time);
}

std::optional<Moment> ParseAge(std::string_view word, const LocalTime& now) {
  constexpr struct {
    char unit;
    Moment length;
  } kUnits[] = {{'s', kSecond}, {'m', kMinute}, {'h', kHour}, {'d', kDay}};
  constexpr std::int32_t kMost = 100'000'000;
  std::int32_t count = -1;
  const auto [end, code] = std::from_chars(word.data(), word.data() + word.size(), count);
  if (code != std::errc{} || count < 0 || count > kMost || end + 1 != word.data() + word.size())
    return std::nullopt;
  for (const auto& [unit, length] : kUnits) {
    if (*end == unit) return MomentOf(now) - count * length;
  }
  return std::nullopt;
}

}  // namespace

Moment MomentOf(const LocalTime& time) {
  const std::chrono::sys_days day(std::chrono::year_month_day(
      std::chrono::year(time.year), std::chrono::month(static_cast<unsigned>(time.month)),
      std::chrono::day(static_cast<unsigned>(time.day))));
  return day.time_since_epoch().count() * kDay + time.hour * kHour + time.minute * kMinute +
         time.second * kSecond + time.millisecond;
}

std::optional<Moment> ParseMoment(std::string_view word, const LocalTime& now) {
  for (const auto parse : {ParseLogTime, ParseIsoTime, ParseTimeOfToday}) {
    if (const auto moment = parse(word, now)) return moment;
  }
  return ParseAge(word, now);
}

}  // namespace tlk::log
