#include "tools/tlk/OwnOutput.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/Utf8.h"
#include "tools/tlk/windows/StandardOutput.h"

namespace tlk {
namespace {

// The most that a console of older systems takes at a time.
constexpr std::size_t kMostAtOnce = 16384;

[[noreturn]] void EndWithoutOutput(int error) {
  std::fprintf(stderr, "tlk: cannot write standard output: %s\n", std::strerror(error));
  std::exit(OwnOutput::kStatusOutputLost);
}

HANDLE HandleOf(int descriptor) { return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)); }

/// Each writer returns why it failed, or 0.
int WriteBytes(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto most = static_cast<unsigned>(std::min(bytes.size(), kMostAtOnce));
    const int written = _write(descriptor, bytes.data(), most);
    if (written <= 0) return errno;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

/// A console shows bytes by a code page of its own, so it is given characters.
int WriteToConsole(int descriptor, std::u16string_view text) {
  while (!text.empty()) {
    const auto most = static_cast<DWORD>(std::min(text.size(), kMostAtOnce / 2));
    DWORD written = 0;
    if (!WriteConsoleW(HandleOf(descriptor), text.data(), most, &written, nullptr) ||
        written == 0) {
      return EIO;
    }
    text.remove_prefix(written);
  }
  return 0;
}

bool IsTerminalAt(int descriptor) {
  DWORD mode = 0;
  return GetConsoleMode(HandleOf(descriptor), &mode) != 0;
}

int WriteText(int descriptor, std::string_view text) {
  return IsTerminalAt(descriptor) ? WriteToConsole(descriptor, ToUtf16(text))
                                  : WriteBytes(descriptor, text);
}

}  // namespace

OwnOutput& OwnOutput::Get() {
  static OwnOutput output;
  return output;
}

// The control's own lines leave through the descriptor that it shares with the program, for both
// use the C runtime of the system. Binary, so that a line ends as it does elsewhere.
OwnOutput::OwnOutput() : m_descriptor(_dup(STDOUT_FILENO)) {
  _setmode(m_descriptor, _O_BINARY);
  _setmode(STDERR_FILENO, _O_BINARY);
  SendStandardOutputToStandardError();
}

void OwnOutput::Line(std::string_view line) { Text(std::string(line) + '\n'); }

void OwnOutput::Text(std::string_view text) {
  const int failure = WriteText(m_descriptor, text);
  if (failure != 0) EndWithoutOutput(failure);
}

void OwnOutput::ErrorText(std::string_view text) { WriteText(STDERR_FILENO, text); }

bool OwnOutput::HasReader() const { return true; }

bool OwnOutput::IsTerminal() const { return IsTerminalAt(m_descriptor); }

bool OwnOutput::ErrorsGoToTerminal() const { return IsTerminalAt(STDERR_FILENO); }

}  // namespace tlk
