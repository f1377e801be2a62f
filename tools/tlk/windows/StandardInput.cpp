#include "tools/tlk/StandardInput.h"

#include <windows.h>

#include <array>

#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "platform/windows/Bstr.h"

namespace tlk {
namespace {

constexpr DWORD kReadSize = 16384;
constexpr wchar_t kEndKey = L'\x1A';  // Ctrl+Z at the start of a line

HANDLE Input() { return GetStdHandle(STD_INPUT_HANDLE); }

bool ReadBytes(std::string& bytes) {
  const std::size_t size = bytes.size();
  bytes.resize(size + kReadSize);
  DWORD count = 0;
  if (!ReadFile(Input(), bytes.data() + size, kReadSize, &count, nullptr)) count = 0;
  bytes.resize(size + count);
  return count != 0;
}

/// A console gives bytes of its own code page, so it is asked for characters.
bool ReadTyped(std::string& bytes) {
  std::array<wchar_t, kReadSize> typed;
  DWORD count = 0;
  if (!ReadConsoleW(Input(), typed.data(), kReadSize, &count, nullptr)) return false;
  if (count == 0 || typed[0] == kEndKey) return false;
  std::string narrow;
  SystemPlatform().text.Narrow(ToUtf16({typed.data(), count}), narrow);
  bytes += narrow;
  return true;
}

}  // namespace

bool ReadStandardInput(std::string& bytes) {
  return StandardInputIsTerminal() ? ReadTyped(bytes) : ReadBytes(bytes);
}

void WaitForStandardInput() { WaitForSingleObject(Input(), INFINITE); }

bool StandardInputIsTerminal() {
  DWORD mode = 0;
  return GetConsoleMode(Input(), &mode) != 0;
}

}  // namespace tlk
