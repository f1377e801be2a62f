#pragma once

#include <cstdint>
#include <pugixml.hpp>

#include "xml/Dom.h"

namespace tlk {

/// Handles of a pugixml tree: a node's is its address; an attribute's is its address plus one,
/// which no node has.
[[nodiscard]] inline DomNode HandleOf(const pugi::xml_node& node) {
  return reinterpret_cast<DomNode>(node.internal_object());
}

[[nodiscard]] inline DomNode HandleOf(const pugi::xml_attribute& attribute) {
  return reinterpret_cast<DomNode>(reinterpret_cast<char*>(attribute.internal_object()) + 1);
}

[[nodiscard]] inline bool IsAttribute(DomNode handle) {
  return (reinterpret_cast<std::uintptr_t>(handle) & 1U) != 0;
}

/// The node behind a handle; empty for null and for an attribute.
[[nodiscard]] inline pugi::xml_node NodeOf(DomNode handle) {
  if (IsAttribute(handle)) return {};
  return pugi::xml_node(reinterpret_cast<pugi::xml_node_struct*>(handle));
}

/// The element behind a handle; empty when it is no element.
[[nodiscard]] inline pugi::xml_node ElementOf(DomNode handle) {
  const pugi::xml_node node = NodeOf(handle);
  return node.type() == pugi::node_element ? node : pugi::xml_node();
}

[[nodiscard]] inline pugi::xml_attribute AttributeOf(DomNode handle) {
  if (!IsAttribute(handle)) return {};
  return pugi::xml_attribute(
      reinterpret_cast<pugi::xml_attribute_struct*>(reinterpret_cast<char*>(handle) - 1));
}

}  // namespace tlk
