#pragma once

#include <atomic>
#include <chrono>
#include <ctime>

#include "platform/Fork.h"
#include "platform/Surroundings.h"

namespace tlk {

/// The surroundings of a POSIX process. The temporary folder is what TMPDIR names, else "/tmp".
class PosixSurroundings final : public Surroundings {
 public:
  [[nodiscard]] std::uint32_t TemporaryFolder(std::span<char> buffer) const override;
  [[nodiscard]] const char* FallbackFolder() const override { return "/"; }
  [[nodiscard]] char PathSeparator() const override { return '/'; }

  /// There is no debugger to write to: the text goes to standard error, as a line.
  void DebugOutput(const char* text) override;

  [[nodiscard]] LocalTime Now() const override;
  [[nodiscard]] std::uint64_t TickCount() const override;
  void Sleep(std::uint32_t milliseconds) override;
  [[nodiscard]] bool ReadProcessTimes(ProcessTimes& times) const override;

  /// The local time at a moment. The system is asked once a minute; a process that
  /// changes its time zone (and calls `tzset`) sees that in the next one.
  [[nodiscard]] LocalTime At(std::chrono::system_clock::time_point moment) const;

 private:
  [[nodiscard]] LocalTime AtSecond(std::chrono::sys_seconds second) const;
  [[nodiscard]] LocalTime AskSystem(std::time_t time) const;

  /// The system has a lock of its own for the time zone, and leaves it to a forked child as it is.
  mutable ForkMutex m_zoneMutex;

  /// The minute that was asked for last and its local time, in one word so that no lock is needed;
  /// at first one that the clock never tells.
  mutable std::atomic<std::uint64_t> m_knownMinute{std::uint64_t{1} << 63};
};

}  // namespace tlk
