#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tlk {

/// The longest path that is looked at, in bytes.
inline constexpr std::size_t kMaxPathLength = 4096;

/// How many brackets may be open in one, signs before numbers included: compilers call themselves
/// for each.
inline constexpr int kMaxPathNesting = 256;

/// Rewrites an XPath expression so that each element name in it selects only elements in no
/// namespace, for a DOM that compares names as they are written and knows of no namespaces. False
/// when the expression names a prefix, which is bound to nothing, or is too long or nested too
/// deeply. Whether it is well-formed otherwise is left to the compiler.
[[nodiscard]] bool BindPathNames(std::string_view path, std::string& bound);

/// Whether an expression names no prefix and is neither too long nor nested too deeply.
[[nodiscard]] bool NamesNoPrefix(std::string_view path);

}  // namespace tlk
