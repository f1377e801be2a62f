#pragma once

#include <cstdint>

#include "platform/Export.h"

namespace tlk {

/// Whether a report ends the process.
enum class Fatal : bool { kNo = false, kYes = true };

/// Formats into the one buffer of the process, at most 1,023 characters, and returns its address.
/// Not safe across threads: the next call overwrites the text.
[[gnu::format(printf, 1, 2)]] TLKC2_API const char* FormatText(const char* format, ...);

/// Reports trouble of the support layer on standard error:
///
///     Assertion failed: CONDITION. MESSAGE, SOURCE:LINE
///
/// or without the parts that are null. Only the part of `source` behind its last forward slash is
/// shown (a name written with backslashes is shown whole). A fatal report then ends the process,
/// with exit code 0: the host is gone either way, and nobody is to mistake its own exit code for
/// this. One that is not fatal waits for nobody who reads it.
TLKC2_API void Report(Fatal fatal, const char* source, std::int32_t line, const char* condition,
                      const char* message);

}  // namespace tlk
