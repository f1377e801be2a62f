#include "platform/posix/ThreadContext.h"

#include <unistd.h>

#include "platform/CallingThread.h"

namespace tlk {
namespace {

thread_local std::uint32_t t_number = 0;
thread_local int t_lastError = 0;

}  // namespace

std::uint32_t CallingThread() noexcept {
  if (t_number == 0) [[unlikely]]
    t_number = static_cast<std::uint32_t>(gettid());
  return t_number;
}

void ForgetThreadNumber() { t_number = 0; }

int LastThreadError() { return t_lastError; }

void SetLastThreadError(int error) { t_lastError = error; }

}  // namespace tlk
