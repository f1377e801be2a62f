#include "xml/pugixml/PugiNamespaces.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <memory_resource>
#include <new>
#include <string_view>
#include <unordered_set>

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

// For an element that does not have the declaration itself.
void Declare(pugi::xml_node element, const char* declaration, const char* name) {
  if (std::strcmp(InScope(element.parent(), declaration), name) == 0) return;
  if (!element.append_attribute(declaration).set_value(name)) throw std::bad_alloc();
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
  if (!IsInNoNamespace(element.parent()) && IsNone(element.attribute(kDefault)))
    Declare(element, kDefault, "");
}

// Each declaration is looked at once, for a message may have a thousand. The usual few need no
// memory.
void KeepDeclarations(const pugi::xml_node& scope, pugi::xml_node element) {
  std::array<std::byte, 2048> buffer;
  std::pmr::monotonic_buffer_resource memory(buffer.data(), buffer.size());
  std::pmr::unordered_set<std::string_view> settled(&memory);
  for (pugi::xml_attribute attribute = element.first_attribute(); !IsNone(attribute);
       attribute = attribute.next_attribute())
    if (IsDeclaration(attribute)) settled.insert(attribute.name());
  VisitDeclarations(scope, [&](const pugi::xml_attribute& declaration) {
    if (settled.insert(declaration.name()).second)
      Declare(element, declaration.name(), declaration.value());
    return false;
  });
  if (settled.insert(kDefault).second) Declare(element, kDefault, "");
}

}  // namespace tlk
