#include "xml/pugixml/PugiNamespaces.h"

#include <cstddef>
#include <cstring>

#include "xml/pugixml/PugiNode.h"

namespace tlk {
namespace {

constexpr const char* kDefault = "xmlns";

constexpr std::size_t kDefaultLength = 5;

bool IsDeclaration(const pugi::xml_attribute& attribute) {
  const char* const name = attribute.name();
  if (*name != *kDefault || std::strncmp(name, kDefault, kDefaultLength) != 0) return false;
  return name[kDefaultLength] == '\0' || name[kDefaultLength] == ':';
}

// Visits the declarations made at a place and above it, from the inside out, until the visitor says
// that it has seen enough; tells whether it has.
template <typename Visitor>
bool VisitDeclarations(pugi::xml_node place, Visitor hasEnough) {
  for (; !IsNone(place); place = place.parent()) {
    for (pugi::xml_attribute attribute = place.first_attribute(); !IsNone(attribute);
         attribute = attribute.next_attribute()) {
      if (IsDeclaration(attribute) && hasEnough(attribute)) return true;
    }
  }
  return false;
}

// The namespace that a declaration of that name gives a place; empty when there is none.
const char* InScope(pugi::xml_node place, const char* declaration) {
  for (; !IsNone(place); place = place.parent()) {
    const pugi::xml_attribute found = place.attribute(declaration);
    if (!IsNone(found)) return found.value();
  }
  return "";
}

void Declare(pugi::xml_node element, const char* declaration, const char* name) {
  if (std::strcmp(InScope(element.parent(), declaration), name) == 0) return;
  if (!IsNone(element.attribute(declaration))) return;
  element.append_attribute(declaration).set_value(name);
}

}  // namespace

bool IsInNoNamespace(const pugi::xml_node& element) { return *InScope(element, kDefault) == '\0'; }

bool InheritsDeclarations(const pugi::xml_node& element) {
  const pugi::xml_node scope = element.parent();
  return VisitDeclarations(scope, [&](const pugi::xml_attribute& declaration) {
    // One that is empty takes nothing away from those within, which have been visited.
    return *declaration.value() != '\0' && *InScope(scope, declaration.name()) != '\0';
  });
}

void KeepInNoNamespace(const pugi::xml_node& element) {
  if (!IsInNoNamespace(element.parent())) Declare(element, kDefault, "");
}

void KeepDeclarations(const pugi::xml_node& scope, pugi::xml_node element) {
  VisitDeclarations(scope, [&](const pugi::xml_attribute& declaration) {
    Declare(element, declaration.name(), InScope(scope, declaration.name()));
    return false;
  });
  Declare(element, kDefault, InScope(scope, kDefault));
}

}  // namespace tlk
