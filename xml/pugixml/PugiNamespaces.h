#pragma once

#include <pugixml.hpp>

namespace tlk {

/// Namespaces, of which pugixml knows nothing but the attributes that declare them. What adds one
/// throws `std::bad_alloc` when there is no memory for it.

/// Whether an element without a prefix is in no namespace.
[[nodiscard]] bool IsInNoNamespace(const pugi::xml_node& element);

/// Whether an element stands in the scope of declarations that are made above it.
[[nodiscard]] bool InheritsDeclarations(const pugi::xml_node& element);

/// Declares on an element, which stood in or is a copy from `scope`, what was declared there and is
/// not where it stands now, so that every name under it still means the same.
void KeepDeclarations(const pugi::xml_node& scope, pugi::xml_node element);

/// The same for an element that stood where nothing is declared.
void KeepInNoNamespace(const pugi::xml_node& element);

}  // namespace tlk
