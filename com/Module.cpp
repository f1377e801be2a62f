#include "com/Module.h"

#include <winsock2.h>

#include <array>
#include <string>

#include "log/MessageTexts.h"
#include "platform/Platform.h"

namespace tlk {
namespace {

constexpr WORD kSocketsVersion = MAKEWORD(1, 1);
constexpr const char* kLogName = "TLK_Client.log";
constexpr std::int32_t kLogThreshold = 4;

// Whether TLK_LEAVE_OUT_TEXTS is set, and neither empty nor "0".
bool AreTextsUnwanted() {
  std::array<wchar_t, 2> value{};
  const DWORD length = GetEnvironmentVariableW(L"TLK_LEAVE_OUT_TEXTS", value.data(), value.size());
  return length > 1 || (length == 1 && value[0] != L'0');
}

}  // namespace

// Made and ended with the module itself, not on first use: the log is there for as long as the
// module is loaded.
Module Module::s_module;

Module& Module::Get() { return s_module; }

Module::Module()
    : m_dom(SystemPlatform().text),
      m_gate(SystemPlatform().text),
      m_traceLog(kLogName, kLogThreshold) {}

bool Module::Start(HINSTANCE instance) {
  m_instance = instance;
  LeaveOutMessageTexts(AreTextsUnwanted());
  WSADATA ignored{};
  return WSAStartup(kSocketsVersion, &ignored) == 0;
}

void Module::End() { WSACleanup(); }

std::wstring Module::Path() const {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD room = static_cast<DWORD>(path.size());
    const DWORD length = GetModuleFileNameW(m_instance, path.data(), room);
    path.resize(length < room ? length : room * 2);
    if (length < room) return path;
  }
}

void Module::Hold() { ++m_holds; }

void Module::LetGo() {
  // While the count still holds the module: the host may unload it as soon as the count is 0.
  if (m_holds == 1) m_traceLog.Rest();
  --m_holds;
}

}  // namespace tlk
