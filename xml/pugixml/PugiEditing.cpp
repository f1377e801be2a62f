#include <pugixml.hpp>
#include <string_view>

#include "xml/Contained.h"
#include "xml/pugixml/PugiDocument.h"
#include "xml/pugixml/PugiNamespaces.h"
#include "xml/pugixml/PugiNode.h"

namespace tlk {

// Takes a name over into the scratch space; false for what cannot be a name.
bool PugiDocument::TakeName(std::string_view name) {
  m_store->text.ToTreeValue(name, m_store->name);
  return m_store->text.IsName(m_store->name);
}

DomResult PugiDocument::CreateElement(std::string_view name, DomNode& element) {
  element = nullptr;
  return Contained([&] {
    if (!TakeName(name)) return kDomBadArgument;
    const pugi::xml_node made = Tree().append_child(m_store->name.c_str());
    if (!made) return kDomOutOfMemory;
    ++m_strays;
    element = HandleOf(made);
    return kDomOk;
  });
}

DomResult PugiDocument::SetDocumentElement(DomNode element) {
  const pugi::xml_node child = ElementOf(element);
  if (!child) return kDomBadArgument;
  if (child == m_root) return kDomOk;
  return Contained([&] {
    const bool replaces = m_root;
    pugi::xml_node placed;
    const DomResult result = Place(Tree(), child, {}, placed);
    if (result != kDomOk) return result;
    m_root = placed;
    if (replaces) ++m_strays;
    return result;
  });
}

DomResult PugiDocument::AppendChild(DomNode parent, DomNode child) {
  const pugi::xml_node element = ElementOf(parent);
  const pugi::xml_node added = NodeOf(child);
  if (!element || !added || element.root() != Tree()) return kDomBadArgument;
  pugi::xml_node placed;
  return Contained([&] { return Place(element, added, {}, placed); });
}

// Whether a node of this document, or of one of its strays, stands under another.
bool PugiDocument::HasParent(const pugi::xml_node& node) const {
  return node && node.root() == Tree() && node.parent() && !IsStray(node);
}

// Moves a node of this tree, or copies one of another, to its place under `parent`: in front of
// `before`, or at the end.
DomResult PugiDocument::Place(pugi::xml_node parent, const pugi::xml_node& child,
                              const pugi::xml_node& before, pugi::xml_node& placed) {
  const pugi::xml_node scope = child.parent();
  const bool wasRoot = child == m_root;
  const bool wasStray = IsStray(child);
  if (child.root() == Tree()) {
    m_store->children.Leaves(child);
    placed = before ? parent.insert_move_before(child, before) : parent.append_move(child);
  } else {
    placed = before ? parent.insert_copy_before(child, before) : parent.append_copy(child);
  }
  if (!placed) return kDomFailed;
  if (wasRoot) m_root = {};
  if (wasStray) --m_strays;
  if (placed.type() == pugi::node_element) KeepDeclarations(scope, placed);
  return kDomOk;
}

// Takes a node from its parent. An element stays, as a stray.
void PugiDocument::TakeOut(pugi::xml_node node) {
  m_store->children.Leaves(node);
  pugi::xml_node parent = node.parent();
  if (node.type() != pugi::node_element) {
    parent.remove_child(node);
    return;
  }
  if (node == m_root) m_root = {};
  Tree().append_move(node);
  ++m_strays;
  KeepDeclarations(parent, node);
}

DomResult PugiDocument::Remove(DomNode node) {
  const pugi::xml_node removed = NodeOf(node);
  if (!HasParent(removed)) return kDomBadArgument;
  TakeOut(removed);
  return kDomOk;
}

// At the top of a document stand comments, processing instructions and one element.
bool PugiDocument::MayReplace(const pugi::xml_node& old, const pugi::xml_node& fresh) const {
  if (old.parent() != Tree()) return true;
  if (fresh.type() == pugi::node_element) return !m_root || old == m_root || fresh == m_root;
  return fresh.type() == pugi::node_comment || fresh.type() == pugi::node_pi;
}

DomResult PugiDocument::Replace(DomNode node, DomNode replacement) {
  const pugi::xml_node old = NodeOf(node);
  const pugi::xml_node fresh = NodeOf(replacement);
  if (!HasParent(old) || !fresh || old == fresh || !MayReplace(old, fresh)) return kDomBadArgument;
  return Contained([&] {
    const bool atTop = old.parent() == Tree();
    pugi::xml_node placed;
    const DomResult result = Place(old.parent(), fresh, old, placed);
    if (result != kDomOk) return result;
    m_store->children.TakesPlace(placed, old);
    TakeOut(old);
    if (atTop && placed.type() == pugi::node_element) m_root = placed;
    return result;
  });
}

DomResult PugiDocument::SetAttribute(DomNode element, std::string_view name,
                                     std::string_view value) {
  pugi::xml_node owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    if (!TakeName(name)) return kDomBadArgument;
    if (m_store->name == "xmlns") m_store->children.Forget();
    m_store->text.ToTreeValue(value, m_store->value);
    pugi::xml_attribute attribute = owner.attribute(m_store->name.c_str());
    if (!attribute) attribute = owner.append_attribute(m_store->name.c_str());
    const bool set = attribute.set_value(m_store->value.c_str());
    return set ? kDomOk : kDomOutOfMemory;
  });
}

DomResult PugiDocument::SetText(DomNode element, std::string_view text) {
  pugi::xml_node owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    m_store->text.ToTreeValue(text, m_store->value);
    pugi::xml_node fresh;
    if (!m_store->value.empty()) {
      fresh = owner.append_child(pugi::node_pcdata);
      if (!fresh.set_value(m_store->value.c_str())) {
        owner.remove_child(fresh);
        return kDomOutOfMemory;
      }
    }
    while (owner.first_child() != fresh) TakeOut(owner.first_child());
    return kDomOk;
  });
}

}  // namespace tlk
