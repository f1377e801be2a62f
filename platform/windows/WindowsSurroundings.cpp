#include "platform/windows/WindowsSurroundings.h"

#include <windows.h>

namespace tlk {
namespace {

std::int64_t Count(const FILETIME& time) {
  return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

}  // namespace

std::uint32_t WindowsSurroundings::TemporaryFolder(std::span<char> buffer) const {
  // Asked without room first: given too little, the system may write into it all the same.
  const DWORD room = ::GetTempPathA(0, nullptr);
  if (room == 0 || room > buffer.size()) return room;
  return ::GetTempPathA(static_cast<DWORD>(buffer.size()), buffer.data());
}

void WindowsSurroundings::DebugOutput(const char* text) { ::OutputDebugStringA(text); }

LocalTime WindowsSurroundings::Now() const {
  SYSTEMTIME now{};
  ::GetLocalTime(&now);
  return {.year = now.wYear,
          .month = now.wMonth,
          .day = now.wDay,
          .hour = now.wHour,
          .minute = now.wMinute,
          .second = now.wSecond,
          .millisecond = now.wMilliseconds};
}

std::uint64_t WindowsSurroundings::TickCount() const { return ::GetTickCount64(); }

void WindowsSurroundings::Sleep(std::uint32_t milliseconds) { ::Sleep(milliseconds); }

bool WindowsSurroundings::ReadProcessTimes(ProcessTimes& times) const {
  FILETIME created{};
  FILETIME ended{};
  FILETIME kernel{};
  FILETIME user{};
  if (!::GetProcessTimes(::GetCurrentProcess(), &created, &ended, &kernel, &user)) return false;
  FILETIME now{};
  ::GetSystemTimeAsFileTime(&now);
  times = {.now = Count(now), .processor = Count(kernel) + Count(user)};
  return true;
}

}  // namespace tlk
