#include "thread/Reporter.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/StandardOutput.h"

namespace tlk {

namespace {

constexpr std::size_t kFormatBuffer = 1024;
constexpr std::size_t kMaxReport = 1024;

const char* BehindLastSlash(const char* source) {
  const char* slash = std::strrchr(source, '/');
  return slash != nullptr ? slash + 1 : source;
}

// The host's own end-of-process work is not run: it would run in the middle of whatever state was
// found broken, and perhaps on a thread that it does not expect.
[[noreturn]] void EndProcess() {
  std::fflush(stderr);
  std::_Exit(EXIT_SUCCESS);
}

}  // namespace

const char* FormatText(const char* format, ...) {
  static std::array<char, kFormatBuffer> buffer;
  std::va_list values;
  va_start(values, format);
  std::vsnprintf(buffer.data(), buffer.size(), format, values);
  va_end(values);
  return buffer.data();
}

void Report(Fatal fatal, const char* source, std::int32_t line, const char* condition,
            const char* message) {
  const char* const opening = condition != nullptr ? "Assertion failed: " : "";
  const char* const joint = condition == nullptr ? "" : message != nullptr ? ". " : ", ";
  const char* const closing = message != nullptr ? ", " : "";
  std::array<char, kMaxReport + 1> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "%s%s%s%s%s%s:%d\n", opening, condition != nullptr ? condition : "",
      joint, message != nullptr ? message : "", closing, BehindLastSlash(source), line);
  const auto printed = std::min(static_cast<std::size_t>(std::max(length, 0)), kMaxReport);
  if (fatal == Fatal::kNo) return PrintOnStandardError({text.data(), printed});
  // The process ends here, so this may wait until somebody reads it.
  std::fwrite(text.data(), 1, printed, stderr);
  EndProcess();
}

}  // namespace tlk
