#include <cstring>
#include <new>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "platform/Ascii.h"
#include "xml/DomAdapter.h"
#include "xml/XmlCharacters.h"
#include "xml/pugixml/PugiDocument.h"
#include "xml/pugixml/PugiNamespaces.h"
#include "xml/pugixml/PugiNode.h"
#include "xml/pugixml/PugiText.h"

namespace tlk {
namespace {

// Removes the innermost nodes first: removing a whole tree, pugixml calls itself for each level.
void RemoveTree(const pugi::xml_node& top) {
  pugi::xml_node node = top;
  for (bool isDone = false; !isDone;) {
    while (!IsNone(node.first_child())) node = node.first_child();
    isDone = IsSame(node, top);
    pugi::xml_node parent = node.parent();
    parent.remove_child(node);
    node = parent;
  }
}

// Removes the siblings behind `child`, or all children when there is no such child; `left` stays.
void RemoveBehind(const pugi::xml_node& parent, const pugi::xml_node& child,
                  const pugi::xml_node& left) {
  pugi::xml_node node = IsNone(child) ? parent.first_child() : child.next_sibling();
  while (!IsNone(node)) {
    const pugi::xml_node next = node.next_sibling();
    if (!IsSame(node, left)) RemoveTree(node);
    node = next;
  }
}

pugi::xml_node FirstElementFrom(pugi::xml_node node) {
  while (!IsNone(node) && node.type() != pugi::node_element) node = node.next_sibling();
  return node;
}

template <typename Part>
bool HasSameTexts(const Part& one, const Part& other) {
  return std::strcmp(one.name(), other.name()) == 0 && std::strcmp(one.value(), other.value()) == 0;
}

bool IsSameAlone(const pugi::xml_node& one, const pugi::xml_node& other) {
  if (one.type() != other.type() || !HasSameTexts(one, other)) return false;
  pugi::xml_attribute copy = other.first_attribute();
  for (const pugi::xml_attribute& attribute : one.attributes()) {
    if (IsNone(copy) || !HasSameTexts(attribute, copy)) return false;
    copy = copy.next_attribute();
  }
  return true;
}

// Whether a copy holds all that a node holds: what pugixml had no memory for, it leaves out without
// a word. `kept`, if it is among that, becomes its copy. Both trees are walked side by side, and
// not by recursion: they may be deep.
bool IsWholeCopy(const pugi::xml_node& node, const pugi::xml_node& copy, DomNode& kept) {
  const DomNode sought = kept;
  pugi::xml_node here = node;
  pugi::xml_node there = copy;
  while (IsSameAlone(here, there)) {
    if (HandleOf(here) == sought) kept = HandleOf(there);
    if (!IsNone(here.first_child())) {
      here = here.first_child();
      there = there.first_child();
      continue;
    }
    while (!IsSame(here, node) && IsNone(here.next_sibling())) {
      here = here.parent();
      there = there.parent();
    }
    if (IsSame(here, node)) return true;
    here = here.next_sibling();
    there = there.next_sibling();
  }
  return false;
}

}  // namespace

// Takes a name over into the scratch space; false for what cannot be a name.
bool PugiDocument::TakeName(std::string_view name) {
  return m_store->text.NameInTree(name, m_store->name);
}

// The same for an attribute of an element; false also for one that it cannot have.
bool PugiDocument::TakeAttribute(const pugi::xml_node& element, const DomAttribute& attribute) {
  const std::string_view name = attribute.name;
  if (name.find(':') < name.find('\0')) return TakePrefixed(element, name);
  if (!TakeName(name)) return false;
  return m_store->name != kDefaultDeclaration || TakeDefault(element, attribute.value);
}

// Finds out under which name a default declaration is set: as one, or only shown as one.
bool PugiDocument::TakeDefault(pugi::xml_node element, std::string_view value) {
  if (IsReservedNamespace(value)) return false;
  pugi::xml_attribute own = element.attribute(kDefaultDeclaration);
  const std::string outer = NamespaceAt(element.parent(), kDefaultDeclaration);
  const std::string_view settled = IsNone(own) ? std::string_view(outer) : own.value();
  std::string scratch;
  const bool isSettled = settled == m_store->text.ValueInTree(value, scratch);
  if (!IsNone(own)) {
    if (isSettled) return true;
    if (settled != outer) return false;
    if (!own.set_name(kShownDeclaration)) throw std::bad_alloc();
  }
  const bool isShown = !IsNone(element.attribute(kShownDeclaration));
  if (isShown || !isSettled) m_store->name = kShownDeclaration;
  return true;
}

bool PugiDocument::TakePrefixed(const pugi::xml_node& element, std::string_view name) {
  const std::string_view prefix = name.substr(0, name.find(':'));
  const std::string_view local = name.substr(prefix.size() + 1);
  if (!TakeName(local)) return false;
  const std::string localName = m_store->name;
  if (!TakeName(prefix)) return false;
  const std::string declaration = std::string("xmlns:").append(m_store->name);
  if (m_store->name != "xml" && *NamespaceAt(element, declaration.c_str()) == '\0') return false;
  m_store->name.append(":").append(localName);
  return true;
}

DomResult PugiDocument::CreateElement(std::string_view name, DomNode& element) {
  element = nullptr;
  return Contained([&] {
    if (!TakeName(name)) return kDomBadArgument;
    element = HandleOf(m_store->unplaced.append_child(m_store->name.c_str()));
    return element != nullptr ? kDomOk : kDomOutOfMemory;
  });
}

DomResult PugiDocument::AddElement(DomNode parent, std::string_view name,
                                   std::span<const DomAttribute> attributes, DomNode& element) {
  element = nullptr;
  pugi::xml_node place = parent == nullptr ? Tree() : ElementOf(parent);
  const bool isRoot = parent == nullptr;
  if (IsNone(place) || (isRoot && !IsNone(m_root))) return kDomBadArgument;
  const DomResult result = Contained([&] {
    if (!TakeName(name)) return kDomBadArgument;
    element = HandleOf(place.append_child(m_store->name.c_str()));
    return element != nullptr ? kDomOk : kDomOutOfMemory;
  });
  if (result != kDomOk) return result;
  if (isRoot) m_root = NodeOf(element);
  DomResult appended = kDomOk;
  for (const DomAttribute& attribute : attributes)
    if (AppendAttribute(NodeOf(element), attribute) == kDomOutOfMemory) appended = kDomOutOfMemory;
  if (isRoot || appended != kDomOk) return appended;
  return Contained([&] {
    KeepInNoNamespace(NodeOf(element));
    return kDomOk;
  });
}

// For an element that is only being made: it is in no namespace yet.
DomResult PugiDocument::AppendAttribute(pugi::xml_node element, const DomAttribute& attribute) {
  return Contained([&] {
    const std::string_view name = attribute.name;
    const bool isDefault = name == kDefaultDeclaration;
    const bool isSettled = attribute.value.empty();
    if (isDefault ? IsReservedNamespace(attribute.value) : !TakeAttribute(element, attribute))
      return kDomBadArgument;
    if (isDefault) m_store->name = isSettled ? kDefaultDeclaration : kShownDeclaration;
    return SetValue(element.append_attribute(m_store->name.c_str()), attribute.value);
  });
}

DomResult PugiDocument::SetDocumentElement(DomNode& element) {
  const pugi::xml_node child = ElementOf(element);
  if (IsNone(child) || !IsNone(m_root)) return kDomBadArgument;
  return Contained([&] {
    const DomResult result = Place(Tree(), child, {}, m_root);
    element = HandleOf(m_root);
    return result;
  });
}

DomResult PugiDocument::AppendChild(DomNode parent, DomNode& child) {
  const pugi::xml_node element = ElementOf(parent);
  const pugi::xml_node added = NodeOf(child);
  if (!IsOurs(element)) return kDomBadArgument;
  return Contained([&] {
    pugi::xml_node placed;
    const DomResult result = Place(element, added, {}, placed);
    if (result == kDomOk) child = HandleOf(placed);
    return result;
  });
}

DomResult PugiDocument::ReadInto(DomNode parent, std::string_view text) {
  pugi::xml_node place = ElementOf(parent);
  if (!IsOurs(place)) return kDomBadArgument;
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

// Whether there is a node, and in one of the trees of this document.
bool PugiDocument::IsOurs(const pugi::xml_node& node) const {
  const pugi::xml_node root = node.root();
  return IsSame(root, Tree()) || IsSame(root, m_store->unplaced) || IsSame(root, m_store->kept);
}

// Whether a node stands under another, or at the top of the document.
bool PugiDocument::HasParent(const pugi::xml_node& node) const {
  const pugi::xml_node parent = node.parent();
  return IsOurs(node) && (parent.type() == pugi::node_element || IsSame(parent, Tree()));
}

// Brings a node to its place under `parent`: in front of `before`, or at the end. pugixml moves no
// node from one tree to another, so it is copied.
DomResult PugiDocument::Place(pugi::xml_node parent, const pugi::xml_node& child,
                              const pugi::xml_node& before, pugi::xml_node& placed) {
  const pugi::xml_node scope = child.parent();
  const bool wasUnplaced = IsSame(scope, m_store->unplaced);
  if (!wasUnplaced && IsOurs(child)) return kDomBadArgument;
  const pugi::xml_node copy =
      IsNone(before) ? parent.append_copy(child) : parent.insert_copy_before(child, before);
  if (IsNone(copy)) return kDomBadArgument;
  const DomResult result = Contained([&] {
    DomNode kept = nullptr;
    if (!IsWholeCopy(child, copy, kept)) return kDomOutOfMemory;
    if (copy.type() == pugi::node_element) m_store->declarations.Keep(scope, copy);
    return kDomOk;
  });
  if (result != kDomOk) {
    RemoveTree(copy);
    return result;
  }
  placed = copy;
  if (wasUnplaced) RemoveTree(child);
  return kDomOk;
}

// Removes a node. If `kept` is in it, a copy is kept, and `kept` is the node in there.
void PugiDocument::TakeOut(const pugi::xml_node& node, DomNode& kept) {
  pugi::xml_node lastKept;
  if (IsAtOrUnder(NodeOf(kept), node)) {
    lastKept = m_store->kept.first_child();
    DomNode moved = kept;
    const pugi::xml_node copy = m_store->kept.append_copy(node);
    if (IsNone(copy) || !IsWholeCopy(node, copy, moved)) throw std::bad_alloc();
    m_store->declarations.Keep(node.parent(), copy);
    kept = moved;
  }
  m_store->children.Leaves(node);
  m_store->declarations.Leaves(node);
  if (IsSame(node, m_root)) m_root = {};
  RemoveTree(node);
  if (!IsNone(lastKept)) RemoveTree(lastKept);
}

DomResult PugiDocument::Remove(DomNode node, DomNode& kept) {
  const pugi::xml_node removed = NodeOf(node);
  if (!HasParent(removed)) return kDomBadArgument;
  return Contained([&] {
    TakeOut(removed, kept);
    return kDomOk;
  });
}

// At the top of a document stand comments, processing instructions and one element.
bool PugiDocument::MayReplace(const pugi::xml_node& old, const pugi::xml_node& fresh) const {
  if (old.parent() != Tree()) return true;
  if (fresh.type() == pugi::node_element) return IsNone(m_root) || IsSame(old, m_root);
  return fresh.type() == pugi::node_comment || fresh.type() == pugi::node_pi;
}

DomResult PugiDocument::Replace(DomNode node, DomNode replacement, DomNode& kept) {
  const pugi::xml_node old = NodeOf(node);
  const pugi::xml_node fresh = NodeOf(replacement);
  if (!HasParent(old) || IsNone(fresh) || !MayReplace(old, fresh)) return kDomBadArgument;
  return Contained([&] {
    const bool isAtTop = IsSame(old.parent(), Tree());
    pugi::xml_node placed;
    const DomResult result = Place(old.parent(), fresh, old, placed);
    if (result != kDomOk) return result;
    m_store->children.TakesPlace(placed, old);
    const DomResult removed = Contained([&] {
      TakeOut(old, kept);
      return kDomOk;
    });
    if (removed != kDomOk) {
      m_store->children.Forget();
      RemoveTree(placed);
    } else if (isAtTop && placed.type() == pugi::node_element) {
      m_root = placed;
    }
    return removed;
  });
}

DomResult PugiDocument::SetAttribute(DomNode element, std::string_view name,
                                     std::string_view value) {
  pugi::xml_node owner = ElementOf(element);
  if (IsNone(owner)) return kDomBadArgument;
  return Contained([&] {
    if (!TakeAttribute(owner, {name, value})) return kDomBadArgument;
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
    DomNode none = nullptr;
    while (!IsSame(owner.first_child(), fresh)) TakeOut(owner.first_child(), none);
    return kDomOk;
  });
}

}  // namespace tlk
