#pragma once

#include <string>

namespace tlk::log {

/// A word of the command line as the log would have it, in the system's ANSI code page.
[[nodiscard]] std::string SearchedText(const std::string& word);

}  // namespace tlk::log
