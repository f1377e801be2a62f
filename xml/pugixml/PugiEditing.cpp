#include <pugixml.hpp>
#include <string_view>

#include "platform/Ascii.h"
#include "xml/Contained.h"
#include "xml/GateNamespaces.h"
#include "xml/pugixml/PugiCopy.h"
#include "xml/pugixml/PugiDocument.h"
#include "xml/pugixml/PugiNamespaces.h"
#include "xml/pugixml/PugiNode.h"
#include "xml/pugixml/PugiText.h"

namespace tlk {
namespace {

// Removes what stands behind a child, or all there is behind none, but for one node.
void RemoveBehind(pugi::xml_node parent, const pugi::xml_node& child, const pugi::xml_node& kept) {
  pugi::xml_node node = IsNone(child) ? parent.first_child() : child.next_sibling();
  while (!IsNone(node)) {
    const pugi::xml_node next = node.next_sibling();
    if (!IsSame(node, kept)) parent.remove_child(node);
    node = next;
  }
}

pugi::xml_node FirstElementFrom(pugi::xml_node node) {
  while (!IsNone(node) && node.type() != pugi::node_element) node = node.next_sibling();
  return node;
}

}  // namespace

// Takes a name over into the scratch space; false for what cannot be a name.
bool PugiDocument::TakeName(std::string_view name) {
  return m_store->text.NameInTree(name, m_store->name);
}

// The same for an attribute; false also for a declaration that no element may have.
bool PugiDocument::TakeAttribute(const DomAttribute& attribute) {
  if (!TakeName(attribute.name)) return false;
  return std::string_view(m_store->name) != "xmlns" || !IsReservedNamespace(attribute.value);
}

DomResult PugiDocument::CreateElement(std::string_view name, DomNode& element) {
  element = nullptr;
  return Contained([&] {
    if (!TakeName(name)) return kDomBadArgument;
    const pugi::xml_node made = Tree().append_child(m_store->name.c_str());
    if (IsNone(made)) return kDomOutOfMemory;
    ++m_strays;
    element = HandleOf(made);
    return kDomOk;
  });
}

// Elsewhere than under the document element, an element is made first and then placed.
DomResult PugiDocument::AddElement(DomNode parent, std::string_view name,
                                   std::span<const DomAttribute> attributes, DomNode& element) {
  if (parent != HandleOf(m_root)) return DomDocument::AddElement(parent, name, attributes, element);
  element = nullptr;
  const DomResult result = Contained([&] {
    if (!TakeName(name)) return kDomBadArgument;
    pugi::xml_node place = parent == nullptr ? Tree() : m_root;
    element = HandleOf(place.append_child(m_store->name.c_str()));
    return element != nullptr ? kDomOk : kDomOutOfMemory;
  });
  if (result != kDomOk) return result;
  if (parent == nullptr) m_root = NodeOf(element);
  DomResult appended = kDomOk;
  for (const DomAttribute& attribute : attributes)
    if (AppendAttribute(NodeOf(element), attribute) == kDomOutOfMemory) appended = kDomOutOfMemory;
  if (parent == nullptr || appended != kDomOk) return appended;
  return Contained([&] {
    KeepInNoNamespace(NodeOf(element));
    return kDomOk;
  });
}

DomResult PugiDocument::AppendAttribute(pugi::xml_node element, const DomAttribute& attribute) {
  return Contained([&] {
    if (!TakeAttribute(attribute)) return kDomBadArgument;
    return SetValue(element.append_attribute(m_store->name.c_str()), attribute.value);
  });
}

DomResult PugiDocument::SetDocumentElement(DomNode element) {
  const pugi::xml_node child = ElementOf(element);
  if (IsNone(child)) return kDomBadArgument;
  if (IsSame(child, m_root)) return kDomOk;
  return Contained([&] {
    const bool replaces = !IsNone(m_root);
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
  if (IsNone(element) || IsNone(added) || !IsSame(element.root(), Tree())) return kDomBadArgument;
  pugi::xml_node placed;
  return Contained([&] { return Place(element, added, {}, placed); });
}

DomResult PugiDocument::ReadInto(DomNode parent, std::string_view text) {
  pugi::xml_node place = ElementOf(parent);
  if (IsNone(place) || !IsSame(place.root(), Tree())) return kDomBadArgument;
  return Contained([&] {
    const pugi::xml_node last = place.last_child();
    const std::string_view source = ToSource(text);
    const bool isRead =
        place.append_buffer(source.data(), source.size(), kPugiParseOptions, pugi::encoding_utf8);
    const pugi::xml_node added = IsNone(last) ? place.first_child() : last.next_sibling();
    const pugi::xml_node root = isRead ? FirstElementFrom(added) : pugi::xml_node();
    RemoveBehind(place, last, root);
    if (IsNone(root)) return kDomNothing;
    const DomResult kept = Contained([&] {
      KeepInNoNamespace(root);
      return kDomOk;
    });
    if (kept != kDomOk) RemoveBehind(place, last, {});
    return kept;
  });
}

// A text for pugixml, which copies it.
std::string_view PugiDocument::ToSource(std::string_view text) {
  if (IsAscii(text) && text.find('\r') == std::string_view::npos) return text;
  m_store->text.SourceToTree(text, m_store->value);
  NormaliseLineEnds(m_store->value);
  return m_store->value;
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
  const bool wasRoot = IsSame(child, m_root);
  const bool wasStray = !wasRoot && IsSame(scope, Tree()) && child.type() == pugi::node_element;
  if (wasStray || IsSame(child.root(), Tree())) {
    m_store->children.Leaves(child);
    placed = IsNone(before) ? parent.append_move(child) : parent.insert_move_before(child, before);
  } else {
    placed = IsNone(before) ? parent.append_copy(child) : parent.insert_copy_before(child, before);
  }
  if (IsNone(placed)) return kDomFailed;
  if (!IsSame(placed, child) && !IsWholeCopy(child, placed)) {
    parent.remove_child(placed);
    return kDomOutOfMemory;
  }
  if (wasRoot) m_root = {};
  if (wasStray) {
    --m_strays;
    KeepInNoNamespace(placed);
  } else if (placed.type() == pugi::node_element) {
    KeepDeclarations(scope, placed);
  }
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
  return Contained([&] {
    TakeOut(removed);
    return kDomOk;
  });
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
  if (IsNone(owner)) return kDomBadArgument;
  return Contained([&] {
    if (!TakeAttribute({name, value})) return kDomBadArgument;
    if (std::string_view(m_store->name) == "xmlns") m_store->children.Forget();
    pugi::xml_attribute attribute = owner.attribute(m_store->name.c_str());
    if (IsNone(attribute)) attribute = owner.append_attribute(m_store->name.c_str());
    return SetValue(attribute, value);
  });
}

DomResult PugiDocument::SetValue(pugi::xml_attribute attribute, std::string_view value) {
  const std::string_view kept = m_store->text.ValueInTree(value, m_store->value);
  return attribute.set_value(kept.data(), kept.size()) ? kDomOk : kDomOutOfMemory;
}

DomResult PugiDocument::SetText(DomNode element, std::string_view text) {
  pugi::xml_node owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    const std::string_view kept = m_store->text.ValueInTree(text, m_store->value);
    pugi::xml_node fresh;
    if (!kept.empty()) {
      fresh = owner.append_child(pugi::node_pcdata);
      if (!fresh.set_value(kept.data(), kept.size())) {
        owner.remove_child(fresh);
        return kDomOutOfMemory;
      }
    }
    while (owner.first_child() != fresh) TakeOut(owner.first_child());
    return kDomOk;
  });
}

}  // namespace tlk
