#pragma once

#include <string>
#include <string_view>

#include "platform/Export.h"

namespace tlk {

/// Appends what `utf8` is in UTF-16. A byte with which no character begins becomes U+FFFD; so does,
/// as one, a character that the end of the text cuts short.
TLKC2_API void AppendUtf16(std::string_view utf8, std::u16string& wide);

/// Appends what `wide` is in UTF-8. Half a surrogate pair becomes "?".
TLKC2_API void AppendUtf8(std::u16string_view wide, std::string& utf8);

/// A text of the program in UTF-8 as what a control takes, by the same rules. Only memory that runs
/// out throws, here and below.
[[nodiscard]] TLKC2_API std::u16string ToUtf16(std::string_view utf8);

/// A text of a control as what a program prints.
[[nodiscard]] TLKC2_API std::string ToUtf8(std::u16string_view wide);

}  // namespace tlk
