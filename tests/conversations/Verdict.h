#pragma once

#include <string>
#include <vector>

namespace tlk::conversations {

/// A text cut to what a report has room for.
[[nodiscard]] std::string Shorten(const std::string& text);

/// What is wrong with the lines of a host's output, measured by what a conversation expects; empty
/// when nothing is. Patterns as for `LinesFit`.
[[nodiscard]] std::string JudgeOutput(const std::vector<std::string>& expected,
                                      const std::vector<std::string>& lines);

/// The same for the records of a trace log. Each expected one must be there behind the one before
/// it; none that follows `absent ` may be there at all.
[[nodiscard]] std::string JudgeLog(const std::vector<std::string>& expected,
                                   const std::vector<std::string>& records);

}  // namespace tlk::conversations
