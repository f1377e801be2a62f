#pragma once

#include <cstddef>
#include <string_view>

#include "xml/Gate.h"
#include "xml/XmlCharacters.h"

namespace tlk {

/// Does the gate's work on a text of bytes or of UTF-16 units; the position of the verdict counts
/// them. Throws std::bad_alloc for a text with very many namespace prefixes, and nothing else.
template <typename Char>
[[nodiscard]] GateVerdict ScanXml(std::basic_string_view<Char> text, const XmlAlphabet& alphabet,
                                  std::size_t maxDepth);

}  // namespace tlk
