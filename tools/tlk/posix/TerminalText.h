#pragma once

#include "platform/AnsiText.h"

namespace tlk {

/// Text in the encoding of the user's locale, in which his terminal writes and shows it.
[[nodiscard]] const AnsiText& TerminalText();

/// Whether that is UTF-8.
[[nodiscard]] bool TerminalIsUtf8();

}  // namespace tlk
