#include "xml/pugixml/PugiChildren.h"

#include <cstring>
#include <utility>

#include "xml/pugixml/PugiNamespaces.h"
#include "xml/pugixml/PugiNode.h"

namespace tlk {

// pugixml finds nodes of any kind by name.
bool PugiChildren::IsPlain(const pugi::xml_node& child) const {
  return child.type() == pugi::node_element && IsInNoNamespace(child, m_isParentInNone);
}

pugi::xml_node PugiChildren::Find(const pugi::xml_node& parent, std::string_view name) {
  if (!IsSame(parent, m_parent)) {
    Forget();
    m_parent = parent;
    m_isParentInNone = IsInNoNamespace(parent);
  }
  if (m_searches < kPlainSearches) {
    ++m_searches;
    pugi::xml_node child = parent.first_child();
    while (!IsNone(child) && !(child.name() == name && IsPlain(child)))
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
    const bool isPlain = IsPlain(child);
    if (isPlain) {
      const auto [known, isFirst] = m_firsts.try_emplace(child.name(), First{child});
      if (!isFirst) known->second.isRepeated = true;
    }
    m_last = child;
    if (isPlain && child.name() == name) return child;
  }
  return {};
}

void PugiChildren::Leaves(const pugi::xml_node& node) {
  if (IsNone(m_parent)) return;
  if (!IsSame(node.parent(), m_parent)) {
    if (IsAtOrUnder(m_parent, node)) Forget();
    return;
  }
  if (IsSame(node, m_last)) m_last = node.previous_sibling();
  const auto known = Known(node);
  if (known == m_firsts.end()) return;
  if (known->second.isRepeated) {
    Forget();
  } else {
    m_firsts.erase(known);
  }
}

void PugiChildren::TakesPlace(const pugi::xml_node& node, const pugi::xml_node& child) {
  if (IsNone(m_last) || !IsSame(child.parent(), m_parent)) return;
  const auto known = Known(child);
  const bool isLikeIt = IsPlain(node) && std::strcmp(node.name(), child.name()) == 0;
  if (known == m_firsts.end() || !isLikeIt) {
    Forget();
    return;
  }
  auto entry = m_firsts.extract(known);
  entry.key() = node.name();
  entry.mapped().child = node;
  m_firsts.insert(std::move(entry));
  if (IsSame(child, m_last)) m_last = node;
}

void PugiChildren::Forget() {
  m_parent = {};
  m_searches = 0;
  m_last = {};
  m_firsts.clear();
}

// What is remembered of a child that is the first of its name.
PugiChildren::Firsts::iterator PugiChildren::Known(const pugi::xml_node& child) {
  const auto known = m_firsts.find(child.name());
  const bool isIt = known != m_firsts.end() && IsSame(known->second.child, child);
  return isIt ? known : m_firsts.end();
}

}  // namespace tlk
