#include "platform/windows/WindowsSurroundings.h"

#include <windows.h>

namespace tlk {

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

}  // namespace tlk
