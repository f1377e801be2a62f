#include "xml/pugixml/PugiNamespaces.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <memory_resource>
#include <new>
#include <unordered_map>
#include <unordered_set>

#include "xml/pugixml/PugiNode.h"

namespace tlk {
namespace {

constexpr std::size_t kDefaultLength = 5;

bool IsDeclaration(const pugi::xml_attribute& attribute) {
  const char* const name = attribute.name();
  if (*name != *kDefaultDeclaration || std::strncmp(name, kDefaultDeclaration, kDefaultLength) != 0)
    return false;
  if (name[kDefaultLength] == '\0') return true;
  return name[kDefaultLength] == ':' && std::strcmp(name, kShownDeclaration) != 0;
}

template <typename Visitor>
void VisitDeclarations(const pugi::xml_node& element, Visitor visit) {
  for (pugi::xml_attribute attribute = element.first_attribute(); !IsNone(attribute);
       attribute = attribute.next_attribute())
    if (IsDeclaration(attribute)) visit(attribute.name(), attribute.value());
}

// Whether anything is declared at a place or above it that is not empty; nearly always nothing is.
bool IsInScopeOfAny(pugi::xml_node place) {
  bool isDeclared = false;
  for (; !IsNone(place) && !isDeclared; place = place.parent())
    VisitDeclarations(place, [&](const char*, const char* value) { isDeclared |= *value != '\0'; });
  return isDeclared;
}

// Some declarations by their names, of which an inner one hides those further out. The usual few
// need no memory, and a thousand no search for each.
class Scope {
 public:
  void AddFrom(const pugi::xml_node& element) {
    VisitDeclarations(element, [&](const char* name, const char* value) {
      if (m_known.try_emplace(name, value).second) m_inOrder.emplace_back(name, value);
    });
  }

  void AddFromAndAbove(pugi::xml_node place) {
    for (; !IsNone(place); place = place.parent()) AddFrom(place);
  }

  [[nodiscard]] const char* Namespace(const char* name) const {
    const auto known = m_known.find(name);
    return known == m_known.end() ? "" : known->second;
  }

  [[nodiscard]] bool Declares(const char* name) const { return m_known.contains(name); }

  [[nodiscard]] const auto& InOrder() const { return m_inOrder; }

 private:
  std::array<std::byte, 2048> m_buffer;
  std::pmr::monotonic_buffer_resource m_memory{m_buffer.data(), m_buffer.size()};
  std::pmr::unordered_map<std::string_view, const char*> m_known{&m_memory};
  std::pmr::vector<std::pair<const char*, const char*>> m_inOrder{&m_memory};
};

// Adds to an element those declarations that it does not have itself.
void Declare(pugi::xml_node element, const Declarations& declarations) {
  if (declarations.empty()) return;
  std::unordered_set<std::string_view> own;
  VisitDeclarations(element, [&](const char* name, const char*) { own.insert(name); });
  for (const auto& [name, value] : declarations) {
    if (!own.contains(name) && !element.append_attribute(name).set_value(value))
      throw std::bad_alloc();
  }
}

}  // namespace

const char* NamespaceAt(pugi::xml_node place, const char* declaration) {
  for (; !IsNone(place); place = place.parent()) {
    const pugi::xml_attribute found = place.attribute(declaration);
    if (!IsNone(found)) return found.value();
  }
  return "";
}

bool IsInNoNamespace(const pugi::xml_node& element) {
  return *NamespaceAt(element, kDefaultDeclaration) == '\0';
}

bool IsInNoNamespace(const pugi::xml_node& element, bool around) {
  const pugi::xml_attribute own = element.attribute(kDefaultDeclaration);
  return IsNone(own) ? around : *own.value() == '\0';
}

Declarations InheritedDeclarations(const pugi::xml_node& element) {
  if (!IsInScopeOfAny(element.parent())) return {};
  Scope scope;
  scope.AddFrom(element);
  const std::size_t own = scope.InOrder().size();
  scope.AddFromAndAbove(element.parent());
  Declarations inherited;
  for (std::size_t i = own; i < scope.InOrder().size(); ++i)
    if (*scope.InOrder()[i].second != '\0') inherited.push_back(scope.InOrder()[i]);
  return inherited;
}

void KeepInNoNamespace(const pugi::xml_node& element) {
  if (IsInNoNamespace(element)) return;
  // A declaration that is only shown would be written as a second one.
  pugi::xml_node(element).remove_attribute(kShownDeclaration);
  Declare(element, {{kDefaultDeclaration, ""}});
}

void DeclarationKeeper::Keep(const pugi::xml_node& scope, pugi::xml_node copy) {
  if (!IsSame(scope, m_scope) || !IsSame(copy.parent(), m_place)) Compare(scope, copy.parent());
  Declare(copy, m_missing);
}

void DeclarationKeeper::Compare(const pugi::xml_node& scope, const pugi::xml_node& place) {
  Forget();
  m_missing.clear();
  if (IsInScopeOfAny(scope) || IsInScopeOfAny(place)) FindMissing(scope, place);
  m_scope = scope;
  m_place = place;
}

void DeclarationKeeper::FindMissing(const pugi::xml_node& scope, const pugi::xml_node& place) {
  Scope from;
  Scope to;
  from.AddFromAndAbove(scope);
  to.AddFromAndAbove(place);
  for (const auto& declaration : from.InOrder()) {
    if (std::strcmp(declaration.second, to.Namespace(declaration.first)) != 0)
      m_missing.push_back(declaration);
  }
  const bool isInDefault = *to.Namespace(kDefaultDeclaration) != '\0';
  if (isInDefault && !from.Declares(kDefaultDeclaration))
    m_missing.emplace_back(kDefaultDeclaration, "");
}

void DeclarationKeeper::Leaves(const pugi::xml_node& node) {
  if (IsAtOrUnder(m_place, node)) Forget();
}

}  // namespace tlk
