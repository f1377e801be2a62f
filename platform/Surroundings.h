#pragma once

#include <cstdint>
#include <span>

namespace tlk {

/// A moment of local time; `year` has all its digits, `month` and `day` count from 1.
struct LocalTime {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;
};

/// Times in units of 100 nanoseconds: now, since the beginning of 1601 UTC, and the processor time
/// that the process has used, its own and the system's for it.
struct ProcessTimes {
  std::int64_t now = 0;
  std::int64_t processor = 0;
};

/// What the process finds around itself. Safe to call from any thread.
class Surroundings {
 public:
  virtual ~Surroundings() = default;

  /// Copies the user's temporary folder, with a separator at its end, into `buffer` and returns its
  /// length. Returns 0 when there is none. When the folder and its zero byte do not fit, nothing is
  /// copied and the room they need is returned.
  [[nodiscard]] virtual std::uint32_t TemporaryFolder(std::span<char> buffer) const = 0;

  /// The folder that stands in when there is no temporary folder.
  [[nodiscard]] virtual const char* FallbackFolder() const = 0;

  [[nodiscard]] virtual char PathSeparator() const = 0;

  /// Writes a text for a debugger to see.
  virtual void DebugOutput(const char* text) = 0;

  [[nodiscard]] virtual LocalTime Now() const = 0;

  /// Milliseconds since some fixed moment; never steps back.
  [[nodiscard]] virtual std::uint64_t TickCount() const = 0;

  /// Sleeps; 0 lets other threads that are ready run first.
  virtual void Sleep(std::uint32_t milliseconds) = 0;

  /// False when the system does not tell.
  [[nodiscard]] virtual bool ReadProcessTimes(ProcessTimes& times) const = 0;
};

}  // namespace tlk
