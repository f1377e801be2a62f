#include "tools/tlk/load/OwnProcess.h"

#include <sys/resource.h>
#include <unistd.h>

namespace tlk::load {
namespace {

std::chrono::microseconds Duration(const timeval& time) {
  return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

}  // namespace

std::chrono::microseconds OwnProcessorTime() {
  rusage usage{};
  if (::getrusage(RUSAGE_SELF, &usage) != 0) return {};
  return Duration(usage.ru_utime) + Duration(usage.ru_stime);
}

bool ErrorIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

}  // namespace tlk::load
