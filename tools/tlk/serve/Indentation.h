#pragma once

#include <string>
#include <string_view>

namespace tlk::serve {

/// How a text writes an indentation, which is a line break and any number of tabs.
struct IndentationForm {
  std::string_view lineBreak;
  std::string_view tab;
  std::string_view
      end;  ///< What may follow the last line break; empty for the end of the text only.
};

/// In a message as it is sent, in a record of the trace log, and in a text as `Quote` writes it.
inline constexpr IndentationForm kMessageIndentation{"\r\n", "\t", ""};
inline constexpr IndentationForm kRecordIndentation{"\r\n", "\t", "\n"};
inline constexpr IndentationForm kQuotedIndentation{"\\x0D\\x0A", "\\x09", "\""};

/// The text as a DOM without indentation would have written it. Between two tags, comments and
/// their like, and behind the last one, an indentation goes away; nothing else does. The length
/// stamp of a message in the text, which counts its indentation, becomes smaller by it.
[[nodiscard]] std::string WithoutIndentation(std::string_view text,
                                             const IndentationForm& form = kMessageIndentation);

}  // namespace tlk::serve
