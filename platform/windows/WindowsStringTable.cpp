#include "platform/windows/WindowsStringTable.h"

#include <windows.h>

#include <algorithm>
#include <climits>

namespace tlk {
namespace {

// The system looks at so much of a number and finds the text of another one beyond it.
constexpr std::uint32_t kLastNumber = 0xFFFF;

}  // namespace

ModuleHandle WindowsStringTable::FindModule(const char* name) const {
  return ::GetModuleHandleA(name);
}

int WindowsStringTable::Load(ModuleHandle module, std::uint32_t number,
                             std::span<char> buffer) const {
  if (number > kLastNumber || buffer.empty()) return 0;
  const auto room = static_cast<int>(std::min<std::size_t>(buffer.size(), INT_MAX));
  return ::LoadStringA(static_cast<HMODULE>(const_cast<void*>(module)), number, buffer.data(),
                       room);
}

}  // namespace tlk
