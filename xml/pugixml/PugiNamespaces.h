#pragma once

#include <pugixml.hpp>
#include <string_view>
#include <utility>
#include <vector>

namespace tlk {

/// Namespaces, of which pugixml knows nothing but the attributes that declare them. What needs
/// memory throws `std::bad_alloc` when there is none.

inline constexpr const char* kDefaultDeclaration = "xmlns";

/// A default declaration that was set on an element whose name was settled before: it is written
/// like any other, in the place of any other, but declares nothing here. To pugixml it is the
/// declaration of a prefix that no name can have.
inline constexpr const char* kShownDeclaration = "xmlns:\1";

/// The namespace that a declaration of that name, `xmlns` or `xmlns:prefix`, gives a place; empty
/// when there is none.
[[nodiscard]] const char* NamespaceAt(pugi::xml_node place, const char* declaration);

/// Whether an element without a prefix is in no namespace.
[[nodiscard]] bool IsInNoNamespace(const pugi::xml_node& element);

/// The same where it is known of elements around it.
[[nodiscard]] bool IsInNoNamespace(const pugi::xml_node& element, bool around);

/// Names of declarations, and namespaces; both lie in a tree.
using Declarations = std::vector<std::pair<const char*, const char*>>;

/// What an element inherits from above, from the inside out.
[[nodiscard]] Declarations InheritedDeclarations(const pugi::xml_node& element);

/// Declares on an element, which stood where nothing is declared, that it is in no namespace, if it
/// needs that where it stands now.
void KeepInNoNamespace(const pugi::xml_node& element);

/// Declares on copies what was declared where they come from and is not where they stand now, so
/// that every name in them still means the same. For the next copy from and to the same places it
/// remembers what that is.
class DeclarationKeeper {
 public:
  /// `scope` is what the original stands under.
  void Keep(const pugi::xml_node& scope, pugi::xml_node copy);

  /// The places may be gone.
  void Forget() { m_scope = m_place = {}; }

  /// A node is about to go.
  void Leaves(const pugi::xml_node& node);

 private:
  void Compare(const pugi::xml_node& scope, const pugi::xml_node& place);
  void FindMissing(const pugi::xml_node& scope, const pugi::xml_node& place);

  pugi::xml_node m_scope;
  pugi::xml_node m_place;
  Declarations m_missing;
};

}  // namespace tlk
