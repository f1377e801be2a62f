#include "xml/pugixml/PugiNamespaces.h"

#include <cstring>
#include <string_view>

namespace tlk {
namespace {

constexpr const char* kDefault = "xmlns";

bool IsDeclaration(const pugi::xml_attribute& attribute) {
  const std::string_view name = attribute.name();
  return name == kDefault || name.starts_with("xmlns:");
}

// The namespace that a declaration of that name gives a place; empty when there is none.
const char* InScope(pugi::xml_node place, const char* declaration) {
  for (; place; place = place.parent()) {
    const pugi::xml_attribute found = place.attribute(declaration);
    if (found) return found.value();
  }
  return "";
}

void Declare(pugi::xml_node element, const char* declaration, const char* name) {
  if (element.attribute(declaration)) return;
  if (std::strcmp(InScope(element.parent(), declaration), name) == 0) return;
  element.append_attribute(declaration).set_value(name);
}

}  // namespace

bool IsInNoNamespace(const pugi::xml_node& element) { return *InScope(element, kDefault) == '\0'; }

bool InheritsDeclarations(const pugi::xml_node& element) {
  for (pugi::xml_node above = element.parent(); above; above = above.parent())
    for (const pugi::xml_attribute& attribute : above.attributes())
      if (IsDeclaration(attribute) && *InScope(element.parent(), attribute.name()) != '\0')
        return true;
  return false;
}

void KeepDeclarations(const pugi::xml_node& scope, pugi::xml_node element) {
  for (pugi::xml_node above = scope; above; above = above.parent())
    for (const pugi::xml_attribute& attribute : above.attributes())
      if (IsDeclaration(attribute))
        Declare(element, attribute.name(), InScope(scope, attribute.name()));
  Declare(element, kDefault, InScope(scope, kDefault));
}

}  // namespace tlk
