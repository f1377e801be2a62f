#include "tools/tlk/load/OwnProcess.h"

#include <windows.h>

#include <cstdint>

namespace tlk::load {
namespace {

/// The system counts in units of 100 ns.
std::chrono::microseconds Duration(const FILETIME& time) {
  const auto units = (static_cast<std::uint64_t>(time.dwHighDateTime) << 32U) | time.dwLowDateTime;
  return std::chrono::microseconds(units / 10);
}

}  // namespace

std::chrono::microseconds OwnProcessorTime() {
  FILETIME created{};
  FILETIME ended{};
  FILETIME kernel{};
  FILETIME user{};
  if (::GetProcessTimes(::GetCurrentProcess(), &created, &ended, &kernel, &user) == 0) return {};
  return Duration(kernel) + Duration(user);
}

bool ErrorIsTerminal() {
  DWORD mode = 0;
  return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

}  // namespace tlk::load
