#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tlk::log {

/// Calls `take` with the type of each message in the text of a record 642, which may hold several
/// back to back and be cut in the last one. A message that is cut before its type is not told.
void VisitSentTypes(std::string_view messages, const std::function<void(std::string)>& take);

/// Whether a text stands for one that was left out: `(120 bytes left out)`.
[[nodiscard]] bool IsLeftOut(std::string_view text);

}  // namespace tlk::log
