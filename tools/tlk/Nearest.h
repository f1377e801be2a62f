#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tlk {

/// What a mistyped word was probably meant to be: the first of `known` that the fewest letters
/// added, removed or changed make of it; empty when that takes more than two.
[[nodiscard]] std::string Nearest(std::string_view word, std::span<const std::string> known);

}  // namespace tlk
