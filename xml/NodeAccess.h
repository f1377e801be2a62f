#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "xml/Failures.h"

namespace tlk {

/// The first node of a document that a path selects; nothing when there is no document.
[[nodiscard]] DomResult SelectFirst(DomDocument* document, std::string_view path, DomNode& node);

/// The first node that a path selects, as an element; null when nothing is selected. A node that is
/// no element is reported, under the line number given, and gives null as well.
[[nodiscard]] DomNode SelectElement(const Codec& codec, const char* source, std::int32_t line,
                                    DomDocument* document, std::string_view path);

/// Ends a text before its first zero byte.
void EndAtZero(std::string& text);

}  // namespace tlk
