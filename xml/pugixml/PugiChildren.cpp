#include "xml/pugixml/PugiChildren.h"

#include <cstring>

#include "xml/pugixml/PugiNamespaces.h"
#include "xml/pugixml/PugiNode.h"

namespace tlk {

// pugixml finds nodes of any kind by name.
bool IsPlainElement(const pugi::xml_node& node) {
  return node.type() == pugi::node_element && IsInNoNamespace(node);
}

pugi::xml_node PugiChildren::Find(const pugi::xml_node& parent, std::string_view name) {
  if (!IsSame(parent, m_parent)) {
    Forget();
    m_parent = parent;
  }
  if (m_searches < kPlainSearches) {
    ++m_searches;
    pugi::xml_node child = parent.first_child();
    while (!IsNone(child) && !(child.name() == name && IsPlainElement(child)))
      child = child.next_sibling();
    return child;
  }
  const auto known = m_firsts.find(name);
  return known != m_firsts.end() ? known->second.child : PassUntil(name);
}

// The name is not known yet.
pugi::xml_node PugiChildren::PassUntil(std::string_view name) {
  pugi::xml_node child = IsNone(m_last) ? m_parent.first_child() : m_last.next_sibling();
  for (; !IsNone(child); child = child.next_sibling()) {
    const bool isPlain = IsPlainElement(child);
    if (isPlain) {
      const auto [known, isFirst] = m_firsts.try_emplace(child.name(), First{child});
      if (!isFirst) known->second.isRepeated = true;
    }
    m_last = child;
    if (isPlain && child.name() == name) return child;
  }
  return {};
}

void PugiChildren::Leaves(const pugi::xml_node& child) {
  if (IsNone(m_last) || !IsSame(child.parent(), m_parent)) return;
  if (IsSame(child, m_last)) m_last = child.previous_sibling();
  const First* const known = Known(child);
  if (known == nullptr) return;
  if (known->isRepeated) {
    Forget();
  } else {
    m_firsts.erase(child.name());
  }
}

void PugiChildren::TakesPlace(const pugi::xml_node& node, const pugi::xml_node& child) {
  if (IsNone(m_last) || !IsSame(child.parent(), m_parent)) return;
  First* const known = Known(child);
  const bool isLikeIt = IsPlainElement(node) && std::strcmp(node.name(), child.name()) == 0;
  if (known == nullptr || !isLikeIt) {
    Forget();
    return;
  }
  known->child = node;
  if (IsSame(child, m_last)) m_last = node;
}

void PugiChildren::Forget() {
  m_parent = {};
  m_searches = 0;
  m_last = {};
  m_firsts.clear();
}

// What is remembered of a child that is the first of its name.
PugiChildren::First* PugiChildren::Known(const pugi::xml_node& child) {
  const auto known = m_firsts.find(child.name());
  return known != m_firsts.end() && IsSame(known->second.child, child) ? &known->second : nullptr;
}

}  // namespace tlk
