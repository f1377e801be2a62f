#include "platform/posix/PosixSurroundings.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

namespace tlk {
namespace {

using std::chrono::duration_cast;
using std::chrono::floor;
using std::chrono::seconds;

std::string TemporaryFolderName() {
  const char* name = std::getenv("TMPDIR");
  std::string folder = name != nullptr && *name != '\0' ? name : "/tmp";
  while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
  if (!folder.ends_with('/')) folder += '/';
  return folder;
}

/// Minute and offset in one word; the offset takes the low bits, moved so that it is never
/// negative.
constexpr unsigned kOffsetBits = 20;
constexpr std::int64_t kOffsetMiddle = std::int64_t{1} << (kOffsetBits - 1);

std::uint64_t Packed(std::int64_t minute, seconds offset) {
  return static_cast<std::uint64_t>(minute) << kOffsetBits |
         static_cast<std::uint64_t>(offset.count() + kOffsetMiddle);
}

seconds UnpackedOffset(std::uint64_t packed) {
  constexpr std::uint64_t kMask = (std::uint64_t{1} << kOffsetBits) - 1;
  return seconds(static_cast<std::int64_t>(packed & kMask) - kOffsetMiddle);
}

constexpr std::int64_t kUnitsPerSecond = 10'000'000;
constexpr std::int64_t k1601To1970 = 11'644'473'600 * kUnitsPerSecond;

std::int64_t HundredNanoseconds(const timespec& time) {
  return time.tv_sec * kUnitsPerSecond + time.tv_nsec / 100;
}

}  // namespace

std::uint32_t PosixSurroundings::TemporaryFolder(std::span<char> buffer) const {
  const std::string folder = TemporaryFolderName();
  const auto length = static_cast<std::uint32_t>(folder.size());
  if (folder.size() >= buffer.size()) return length + 1;
  *std::ranges::copy(folder, buffer.begin()).out = '\0';
  return length;
}

void PosixSurroundings::DebugOutput(const char* text) {
  std::string line(text);
  if (!line.ends_with('\n')) line += '\n';
  // There is nobody to tell when standard error is closed.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

LocalTime PosixSurroundings::Now() const { return At(std::chrono::system_clock::now()); }

LocalTime PosixSurroundings::At(std::chrono::system_clock::time_point moment) const {
  const auto local =
      floor<std::chrono::milliseconds>(moment) + OffsetAt(floor<std::chrono::minutes>(moment));
  const auto day = floor<std::chrono::days>(local);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(local - day);
  return {.year = static_cast<int>(date.year()),
          .month = static_cast<int>(static_cast<unsigned>(date.month())),
          .day = static_cast<int>(static_cast<unsigned>(date.day())),
          .hour = static_cast<int>(time.hours().count()),
          .minute = static_cast<int>(time.minutes().count()),
          .second = static_cast<int>(time.seconds().count()),
          .millisecond = static_cast<int>(time.subseconds().count())};
}

seconds PosixSurroundings::OffsetAt(std::chrono::sys_time<std::chrono::minutes> minute) const {
  const std::int64_t number = minute.time_since_epoch().count();
  const std::uint64_t cached = m_offsetOfMinute.load(std::memory_order_relaxed);
  const seconds cachedOffset = UnpackedOffset(cached);
  if (cached == Packed(number, cachedOffset)) return cachedOffset;
  const std::time_t time = duration_cast<seconds>(minute.time_since_epoch()).count();
  std::tm broken{};
  const seconds offset(localtime_r(&time, &broken) != nullptr ? broken.tm_gmtoff : 0);
  m_offsetOfMinute.store(Packed(number, offset), std::memory_order_relaxed);
  return offset;
}

std::uint64_t PosixSurroundings::TickCount() const {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(duration_cast<std::chrono::milliseconds>(now).count());
}

void PosixSurroundings::Sleep(std::uint32_t milliseconds) {
  if (milliseconds == 0) return std::this_thread::yield();
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

bool PosixSurroundings::ReadProcessTimes(ProcessTimes& times) const {
  timespec now{};
  timespec processor{};
  if (clock_gettime(CLOCK_REALTIME, &now) != 0) return false;
  if (clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &processor) != 0) return false;
  times = {.now = k1601To1970 + HundredNanoseconds(now),
           .processor = HundredNanoseconds(processor)};
  return true;
}

}  // namespace tlk
