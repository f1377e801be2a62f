#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/CommandForm.h"

namespace tlk {

/// How the word before the cursor may go on.
struct Completion {
  std::string rest;                  ///< What all ways have in common, and a blank behind the only.
  std::vector<std::string> choices;  ///< The words that it may be.
};

/// Completes the last word of `typed`, the text before the cursor: the name of a command, or one of
/// the choices that its form has there.
[[nodiscard]] Completion Complete(std::span<const CommandForm> forms, std::string_view typed);

}  // namespace tlk
