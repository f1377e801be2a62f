#pragma once

#include <string>
#include <string_view>

namespace tlk::serve {

/// The text as a DOM without indentation would have written it. Between two tags, comments and
/// their like, and behind the last one, a line break and the tabs behind it go away; nothing else
/// does.
[[nodiscard]] std::string WithoutIndentation(std::string_view text);

}  // namespace tlk::serve
