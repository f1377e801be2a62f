#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <string>

#include "xml/pugixml/PugiNamespaces.h"

namespace tlk {

/// Appends the text of a node and everything under it. May throw for want of memory, as those
/// below.
void AppendText(const pugi::xml_node& node, std::string& utf8);

/// Appends a serialised node: no line breaks or blanks added, an element without content as one
/// tag, everything escaped that would not be read back the same. An element also gets what it
/// inherits. `likelySize` is how long the whole text is likely to become if it becomes long.
void AppendXml(const pugi::xml_node& node, std::string& utf8, const Declarations& inherited = {},
               std::size_t likelySize = 0);

/// The same for an attribute: its name and its value in quotes.
void AppendXml(const pugi::xml_attribute& attribute, std::string& utf8);

}  // namespace tlk
