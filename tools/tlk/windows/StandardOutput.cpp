#include "tools/tlk/windows/StandardOutput.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace tlk {
namespace {

constexpr int kStandardOutput = 1;
constexpr int kStandardError = 2;

}  // namespace

bool LeadStandardOutputTo(int descriptor) {
  if (_dup2(descriptor, kStandardOutput) == -1) return false;
  SetStdHandle(STD_OUTPUT_HANDLE, reinterpret_cast<HANDLE>(_get_osfhandle(kStandardOutput)));
  return true;
}

void SendStandardOutputToStandardError() {
  if (!LeadStandardOutputTo(kStandardError)) DropStandardOutput();
}

void DropStandardOutput() {
  const int nowhere = _open("NUL", _O_WRONLY | _O_BINARY);
  if (nowhere == -1) return;
  LeadStandardOutputTo(nowhere);
  if (nowhere != kStandardOutput) _close(nowhere);
}

}  // namespace tlk
