#include "platform/posix/PosixSurroundings.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>
#include <thread>

#include "platform/StandardOutput.h"

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

/// A minute and the local time at its beginning, in one word: the number of the minute in the high
/// half, which is room for every moment that the clock can tell.
std::uint64_t Packed(std::int64_t minute, const LocalTime& local) {
  auto packed = static_cast<std::uint64_t>(minute);
  packed = packed << 12 | static_cast<std::uint64_t>(local.year);
  packed = packed << 4 | static_cast<std::uint64_t>(local.month);
  packed = packed << 5 | static_cast<std::uint64_t>(local.day);
  packed = packed << 5 | static_cast<std::uint64_t>(local.hour);
  return packed << 6 | static_cast<std::uint64_t>(local.minute);
}

std::chrono::sys_seconds StartOf(std::uint64_t packed) {
  const std::chrono::minutes number(static_cast<std::int32_t>(packed >> 32));
  return std::chrono::sys_seconds(number);
}

LocalTime Unpacked(std::uint64_t packed) {
  return {.year = static_cast<int>(packed >> 20 & 0xFFF),
          .month = static_cast<int>(packed >> 16 & 0xF),
          .day = static_cast<int>(packed >> 11 & 0x1F),
          .hour = static_cast<int>(packed >> 6 & 0x1F),
          .minute = static_cast<int>(packed & 0x3F)};
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
  PrintOnStandardError(line);
}

LocalTime PosixSurroundings::Now() const {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  LocalTime local = AtSecond(std::chrono::sys_seconds(seconds(now.tv_sec)));
  local.millisecond = static_cast<int>(now.tv_nsec / 1'000'000);
  return local;
}

LocalTime PosixSurroundings::At(std::chrono::system_clock::time_point moment) const {
  const auto second = floor<seconds>(moment);
  LocalTime local = AtSecond(second);
  local.millisecond =
      static_cast<int>(duration_cast<std::chrono::milliseconds>(moment - second).count());
  return local;
}

LocalTime PosixSurroundings::AtSecond(std::chrono::sys_seconds second) const {
  const std::uint64_t known = m_knownMinute.load(std::memory_order_relaxed);
  const auto sinceKnown = second - StartOf(known);
  if (sinceKnown >= seconds(0) && sinceKnown < std::chrono::minutes(1)) {
    LocalTime local = Unpacked(known);
    local.second = static_cast<int>(sinceKnown.count());
    return local;
  }
  const LocalTime local = AskSystem(second.time_since_epoch().count());
  const auto minute = floor<std::chrono::minutes>(second);
  // Nearly every zone keeps whole minutes; where one does not, the system is asked each time.
  if (second - minute == seconds(local.second)) {
    m_knownMinute.store(Packed(minute.time_since_epoch().count(), local),
                        std::memory_order_relaxed);
  }
  return local;
}

LocalTime PosixSurroundings::AskSystem(std::time_t time) const {
  std::tm local{};
  {
    const std::lock_guard lock(m_zoneMutex);
    localtime_r(&time, &local);
  }
  return {.year = local.tm_year + 1900,
          .month = local.tm_mon + 1,
          .day = local.tm_mday,
          .hour = local.tm_hour,
          .minute = local.tm_min,
          .second = local.tm_sec};
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
