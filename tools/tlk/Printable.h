#pragma once

#include <string>
#include <string_view>

namespace tlk {

/// What becomes of the line breaks and tabs of a text that is shown.
enum class Layout {
  kOneLine,    ///< They are written as escapes.
  kManyLines,  ///< They stay; a carriage return in front of a line break goes.
};

/// A text of somebody else's in UTF-8, as a terminal may be given it. What would not show as itself
/// is written as `\xHH`, or `\u{HHHH}` beyond a byte: control characters, above all those a
/// terminal obeys, and what turns the direction of writing. The text is not quoted, so a backslash
/// of its own stands as it is.
[[nodiscard]] std::string Printable(std::u16string_view text, Layout layout = Layout::kOneLine);

/// The same of a text in the system's ANSI code page, as messages and the trace log have it.
[[nodiscard]] std::string Printable(std::string_view ansi, Layout layout = Layout::kOneLine);

/// A line in which texts of the ANSI code page stand as `Quote` has them, with their printable
/// characters shown as such, in UTF-8. Quotes and backslashes within them keep their backslashes.
[[nodiscard]] std::string ShowQuoted(std::string_view line);

}  // namespace tlk
