#pragma once

#include <bit>
#include <cstdint>
#include <pugixml.hpp>
#include <type_traits>

#include "xml/Dom.h"

namespace tlk {

// Nodes and attributes are nothing but pointers into their tree. They are taken for that here,
// because they are compared and passed on all the time, and each question to pugixml is a call.
static_assert(sizeof(pugi::xml_node) == sizeof(void*));
static_assert(std::is_trivially_copyable_v<pugi::xml_node>);
static_assert(sizeof(pugi::xml_attribute) == sizeof(void*));
static_assert(std::is_trivially_copyable_v<pugi::xml_attribute>);

/// Handles of a pugixml tree: a node's is its address; an attribute's is its address plus one,
/// which no node has.
[[nodiscard]] inline DomNode HandleOf(const pugi::xml_node& node) {
  return std::bit_cast<DomNode>(node);
}

[[nodiscard]] inline bool IsNone(const pugi::xml_node& node) { return HandleOf(node) == nullptr; }

[[nodiscard]] inline bool IsNone(const pugi::xml_attribute& attribute) {
  return std::bit_cast<void*>(attribute) == nullptr;
}

[[nodiscard]] inline bool IsSame(const pugi::xml_node& a, const pugi::xml_node& b) {
  return HandleOf(a) == HandleOf(b);
}

[[nodiscard]] inline DomNode HandleOf(const pugi::xml_attribute& attribute) {
  return reinterpret_cast<DomNode>(reinterpret_cast<char*>(attribute.internal_object()) + 1);
}

[[nodiscard]] inline bool IsAttribute(DomNode handle) {
  return (reinterpret_cast<std::uintptr_t>(handle) & 1U) != 0;
}

/// The node behind a handle; empty for null and for an attribute.
[[nodiscard]] inline pugi::xml_node NodeOf(DomNode handle) {
  return std::bit_cast<pugi::xml_node>(IsAttribute(handle) ? nullptr : handle);
}

/// The element behind a handle; empty when it is no element.
[[nodiscard]] inline pugi::xml_node ElementOf(DomNode handle) {
  const pugi::xml_node node = NodeOf(handle);
  return node.type() == pugi::node_element ? node : NodeOf(nullptr);
}

[[nodiscard]] inline pugi::xml_attribute AttributeOf(DomNode handle) {
  if (!IsAttribute(handle)) return {};
  return pugi::xml_attribute(
      reinterpret_cast<pugi::xml_attribute_struct*>(reinterpret_cast<char*>(handle) - 1));
}

/// Whether a node is another one or stands under it.
[[nodiscard]] inline bool IsAtOrUnder(pugi::xml_node node, const pugi::xml_node& top) {
  while (!IsNone(node) && !IsSame(node, top)) node = node.parent();
  return !IsNone(node);
}

/// The node behind `node` in document order, within the tree under `root`; none behind the last.
/// Each node that all has been seen of is shown to `leave` on the way.
template <typename Leave>
[[nodiscard]] pugi::xml_node NextInTree(pugi::xml_node node, const pugi::xml_node& root,
                                        Leave leave) {
  if (const pugi::xml_node child = node.first_child(); !IsNone(child)) return child;
  for (;; node = node.parent()) {
    leave(node);
    if (IsSame(node, root)) return {};
    if (const pugi::xml_node sibling = node.next_sibling(); !IsNone(sibling)) return sibling;
  }
}

[[nodiscard]] inline pugi::xml_node NextInTree(const pugi::xml_node& node,
                                               const pugi::xml_node& root) {
  return NextInTree(node, root, [](const pugi::xml_node&) {});
}

}  // namespace tlk
