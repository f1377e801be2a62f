#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tlk::conversations {

using Lines = std::vector<std::string>;

/// A text cut to what a report has room for.
[[nodiscard]] std::string Shorten(const std::string& text);

/// The lines of a text.
[[nodiscard]] Lines SplitLines(std::string_view text);

/// The system that a host runs on. On Windows the lines of text files end with two characters, and
/// the DOM indents what it writes: both are taken away before anything is compared.
enum class HostSystem { kNative, kWindows };

/// The lines of a host's output.
[[nodiscard]] Lines ReadOutput(std::string_view output, HostSystem system);

/// The records of a trace log without their time and thread, written as in a conversation file: a
/// line break is `\n`, and what cannot be printed `\xHH`.
[[nodiscard]] Lines ReadRecords(std::string_view log, HostSystem system);

/// What is wrong with the lines of a host's output, measured by what a conversation expects; empty
/// when nothing is. A `*` stands for any text, and a lone one for any number of lines.
[[nodiscard]] std::string JudgeOutput(const Lines& expected, const Lines& lines);

/// The same for the records of a trace log. Each expected one must be there behind the one before
/// it; none that follows `absent ` may be there at all.
[[nodiscard]] std::string JudgeLog(const Lines& expected, const Lines& records);

}  // namespace tlk::conversations
