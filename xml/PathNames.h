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

/// What a DOM can make of a path that was rewritten for it.
enum class BoundPath {
  kRight,         ///< It answers what the path asks.
  kRightInAscii,  ///< It does in a document of nothing but ASCII; the path has nothing else in it.
  kLacking,       ///< The path asks what no rewriting can answer.
  kMalformed,     ///< The path is no expression.
  kRefused        ///< It names a prefix, which is bound to nothing, or is too long or too deep.
};

/// Rewrites an XPath 1.0 expression, in UTF-8, for a DOM that compares names as they are written,
/// knows of no namespaces but their declarations, takes bytes for characters, and is wrong about
/// some rarer things. An element name then selects only elements in no namespace; the prefix `xml`
/// needs no declaration. Whether functions and axes exist and suit their arguments is left to the
/// compiler.
[[nodiscard]] BoundPath BindPath(std::string_view path, std::string& bound);

/// Whether a text, in UTF-8, is an expression at all, names no prefix but `xml`, and is neither too
/// long nor nested too deeply.
[[nodiscard]] bool IsPath(std::string_view path);

}  // namespace tlk
