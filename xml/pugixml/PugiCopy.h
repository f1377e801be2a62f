#pragma once

#include <pugixml.hpp>

namespace tlk {

/// Whether a copy that pugixml has made of a node holds all that the node holds: what it had no
/// memory for, it leaves out without a word.
[[nodiscard]] bool IsWholeCopy(const pugi::xml_node& node, const pugi::xml_node& copy);

}  // namespace tlk
