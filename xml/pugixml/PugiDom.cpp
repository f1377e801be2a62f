#include "xml/pugixml/PugiDom.h"

#include <cstddef>
#include <pugixml.hpp>
#include <string>
#include <utility>

#include "xml/Contained.h"
#include "xml/pugixml/PugiNamespaces.h"
#include "xml/pugixml/PugiNode.h"
#include "xml/pugixml/PugiStore.h"
#include "xml/pugixml/PugiWriter.h"

namespace tlk {
namespace {

// Line ends are normalised before, everywhere alike. White space alone in an element is its text;
// between elements it goes.
constexpr unsigned int kParseOptions = pugi::parse_cdata | pugi::parse_comments |
                                       pugi::parse_escapes | pugi::parse_pi |
                                       pugi::parse_wconv_attribute | pugi::parse_ws_pcdata_single;

bool IsBlankText(const pugi::xml_node& node) {
  if (node.type() != pugi::node_pcdata) return false;
  return std::string_view(node.value()).find_first_not_of(" \t\r\n") == std::string_view::npos;
}

class PugiDocument : public DomDocument {
 public:
  PugiDocument(PugiStorePool& pool, std::unique_ptr<PugiStore> store)
      : m_pool(pool), m_store(std::move(store)) {}
  ~PugiDocument() override { m_pool.Return(std::move(m_store)); }

  PugiDocument(const PugiDocument&) = delete;
  PugiDocument& operator=(const PugiDocument&) = delete;

  // This DOM does nothing else.
  DomResult SetAsync(bool /*on*/) override { return kDomOk; }
  DomResult SetValidateOnParse(bool /*on*/) override { return kDomOk; }
  DomResult SetResolveExternals(bool /*on*/) override { return kDomOk; }
  DomResult SelectXPath() override { return kDomOk; }

  DomResult LoadXml(std::string_view text, bool& loaded) override;
  DomResult ParseErrorReason(std::string& reason) override;
  DomResult CreateElement(std::string_view name, DomNode& element) override;
  DomResult SetDocumentElement(DomNode element) override;
  DomResult DocumentElement(DomNode& element) override;
  DomResult AppendChild(DomNode parent, DomNode child) override;
  DomResult Remove(DomNode node) override;
  DomResult Replace(DomNode node, DomNode replacement) override;
  DomResult FirstChild(DomNode node, DomNode& child) override;
  DomResult NextSibling(DomNode node, DomNode& sibling) override;
  DomResult BaseName(DomNode node, std::string& name) override;
  DomResult AsElement(DomNode node, DomNode& element) override;
  DomResult SetAttribute(DomNode element, std::string_view name, std::string_view value) override;
  DomResult Attribute(DomNode element, std::string_view name, std::string& value) override;
  DomResult SetText(DomNode element, std::string_view text) override;
  DomResult SelectNode(DomNode context, std::string_view path, DomNode& node) override;
  DomResult Text(DomNode node, std::string& text) override;
  DomResult Xml(DomNode node, std::string& xml) override;

 private:
  [[nodiscard]] pugi::xml_document& Tree() const { return m_store->tree; }
  void Clear();
  DomResult Parse(std::string_view text);
  bool TakeName(std::string_view name);
  [[nodiscard]] bool IsStray(const pugi::xml_node& node) const;
  [[nodiscard]] bool HasParent(const pugi::xml_node& node) const;
  [[nodiscard]] bool MayReplace(const pugi::xml_node& old, const pugi::xml_node& fresh) const;
  [[nodiscard]] DomNode FirstSeen(pugi::xml_node node) const;
  DomResult Place(pugi::xml_node parent, const pugi::xml_node& child, const pugi::xml_node& before,
                  pugi::xml_node& placed);
  void TakeOut(pugi::xml_node node);
  void WriteDocument(std::string& utf8);
  void WriteNode(DomNode node, std::string& utf8);

  PugiStorePool& m_pool;
  std::unique_ptr<PugiStore> m_store;
  const char* m_parseError = "";

  // pugixml has no elements that stand nowhere. They wait at the top of the tree, beside the
  // document element, and are passed over there.
  pugi::xml_node m_root;
  std::size_t m_strays = 0;
};

DomResult PugiDocument::LoadXml(std::string_view text, bool& loaded) {
  loaded = false;
  Clear();
  const DomResult result = Contained([&] { return Parse(text); });
  loaded = result == kDomOk && m_root;
  if (!loaded) Clear();
  return result == kDomNothing ? kDomOk : result;
}

void PugiDocument::Clear() {
  Tree().reset();
  m_root = {};
  m_strays = 0;
}

// Plain success, or nothing for a text that cannot be parsed.
DomResult PugiDocument::Parse(std::string_view text) {
  std::string& source = m_store->source;
  m_store->text.ToTree(text, source);
  NormaliseLineEnds(source);
  const pugi::xml_parse_result result =
      Tree().load_buffer_inplace(source.data(), source.size(), kParseOptions, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) return kDomOutOfMemory;
  m_parseError = result ? "" : result.description();
  m_root = Tree().document_element();
  return result ? kDomOk : kDomNothing;
}

DomResult PugiDocument::ParseErrorReason(std::string& reason) {
  return Contained([&] {
    reason = m_parseError;
    return kDomOk;
  });
}

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

DomResult PugiDocument::DocumentElement(DomNode& element) {
  element = HandleOf(m_root);
  return m_root ? kDomOk : kDomNothing;
}

DomResult PugiDocument::AppendChild(DomNode parent, DomNode child) {
  const pugi::xml_node element = ElementOf(parent);
  const pugi::xml_node added = NodeOf(child);
  if (!element || !added || element.root() != Tree()) return kDomBadArgument;
  pugi::xml_node placed;
  return Contained([&] { return Place(element, added, {}, placed); });
}

bool PugiDocument::IsStray(const pugi::xml_node& node) const {
  return node.type() == pugi::node_element && node.parent() == Tree() && node != m_root;
}

// Whether a node belongs to this document or one of its strays, and stands somewhere in it.
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
  if (!HasParent(old) || !fresh || !MayReplace(old, fresh)) return kDomBadArgument;
  if (old == fresh) return kDomOk;
  return Contained([&] {
    const bool atTop = old.parent() == Tree();
    pugi::xml_node placed;
    const DomResult result = Place(old.parent(), fresh, old, placed);
    if (result != kDomOk) return result;
    TakeOut(old);
    if (atTop && placed.type() == pugi::node_element) m_root = placed;
    return result;
  });
}

// The node, or the next one behind it that is to be seen: no stray, nor blanks between elements.
DomNode PugiDocument::FirstSeen(pugi::xml_node node) const {
  while (IsStray(node) || IsBlankText(node)) node = node.next_sibling();
  return HandleOf(node);
}

DomResult PugiDocument::FirstChild(DomNode node, DomNode& child) {
  child = FirstSeen(NodeOf(node).first_child());
  return child != nullptr ? kDomOk : kDomNothing;
}

DomResult PugiDocument::NextSibling(DomNode node, DomNode& sibling) {
  const pugi::xml_node before = NodeOf(node);
  sibling = IsStray(before) ? nullptr : FirstSeen(before.next_sibling());
  return sibling != nullptr ? kDomOk : kDomNothing;
}

DomResult PugiDocument::BaseName(DomNode node, std::string& name) {
  const pugi::xml_node element = ElementOf(node);
  if (!element) return kDomNothing;
  return Contained([&] {
    const std::string_view whole = element.name();
    m_store->text.FromTree(whole.substr(whole.find(':') + 1), name);
    return kDomOk;
  });
}

DomResult PugiDocument::AsElement(DomNode node, DomNode& element) {
  element = HandleOf(ElementOf(node));
  return element != nullptr ? kDomOk : kDomNothing;
}

DomResult PugiDocument::SetAttribute(DomNode element, std::string_view name,
                                     std::string_view value) {
  pugi::xml_node owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    if (!TakeName(name)) return kDomBadArgument;
    m_store->text.ToTreeValue(value, m_store->value);
    pugi::xml_attribute attribute = owner.attribute(m_store->name.c_str());
    if (!attribute) attribute = owner.append_attribute(m_store->name.c_str());
    const bool set = attribute.set_value(m_store->value.c_str());
    return set ? kDomOk : kDomOutOfMemory;
  });
}

DomResult PugiDocument::Attribute(DomNode element, std::string_view name, std::string& value) {
  const pugi::xml_node owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    m_store->text.ToTreeValue(name, m_store->name);
    const pugi::xml_attribute attribute = owner.attribute(m_store->name.c_str());
    if (!attribute) return kDomNothing;
    m_store->text.FromTree(attribute.value(), value);
    return kDomOk;
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
    while (owner.first_child() != fresh) owner.remove_child(owner.first_child());
    return kDomOk;
  });
}

DomResult PugiDocument::SelectNode(DomNode context, std::string_view path, DomNode& node) {
  node = nullptr;
  const PathStart start = {context == nullptr ? Tree() : NodeOf(context), m_root};
  if (!start.context) return kDomBadArgument;
  return Contained([&] {
    m_store->text.ToTree(path, m_store->name);
    pugi::xpath_node found;
    const DomResult result = m_store->paths.Select(start, m_store->name, m_strays > 0, found);
    if (result == kDomOk)
      node = found.attribute() ? HandleOf(found.attribute()) : HandleOf(found.node());
    return result;
  });
}

DomResult PugiDocument::Text(DomNode node, std::string& text) {
  return Contained([&] {
    m_store->value.clear();
    if (IsAttribute(node)) {
      m_store->value = AttributeOf(node).value();
    } else if (NodeOf(node) == Tree()) {
      AppendText(m_root, m_store->value);
    } else {
      AppendText(NodeOf(node), m_store->value);
    }
    m_store->text.TakeFromTree(m_store->value, text);
    return kDomOk;
  });
}

DomResult PugiDocument::Xml(DomNode node, std::string& xml) {
  return Contained([&] {
    m_store->value.clear();
    if (node == nullptr || NodeOf(node) == Tree()) {
      WriteDocument(m_store->value);
    } else {
      WriteNode(node, m_store->value);
    }
    m_store->text.TakeFromTree(m_store->value, xml);
    return kDomOk;
  });
}

void PugiDocument::WriteDocument(std::string& utf8) {
  for (const pugi::xml_node& node : Tree().children())
    if (node == m_root || node.type() != pugi::node_element) AppendXml(node, utf8);
}

void PugiDocument::WriteNode(DomNode node, std::string& utf8) {
  const pugi::xml_node element = ElementOf(node);
  if (IsAttribute(node)) {
    AppendXml(AttributeOf(node), utf8);
  } else if (element && InheritsDeclarations(element)) {
    pugi::xml_document alone;
    const pugi::xml_node copy = alone.append_copy(element);
    KeepDeclarations(element.parent(), copy);
    AppendXml(copy, utf8);
  } else {
    AppendXml(NodeOf(node), utf8);
  }
}

}  // namespace

PugiDomFactory::PugiDomFactory(const AnsiText& text)
    : m_pool(std::make_unique<PugiStorePool>(text)) {}

PugiDomFactory::~PugiDomFactory() = default;

DomResult PugiDomFactory::NewDocument(std::unique_ptr<DomDocument>& document) {
  return Contained([&] {
    document = std::make_unique<PugiDocument>(*m_pool, m_pool->Take());
    return kDomOk;
  });
}

}  // namespace tlk
