#include "xml/pugixml/PugiDom.h"

#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <utility>

#include "xml/DomAdapter.h"
#include "xml/pugixml/PugiDocument.h"
#include "xml/pugixml/PugiNamespaces.h"
#include "xml/pugixml/PugiNode.h"
#include "xml/pugixml/PugiStore.h"
#include "xml/pugixml/PugiWriter.h"

namespace tlk {
namespace {

bool IsBlankText(const pugi::xml_node& node) {
  if (node.type() != pugi::node_pcdata) return false;
  return std::string_view(node.value()).find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// The node, or the next one behind it that is to be seen: no blanks between elements.
DomNode FirstSeen(pugi::xml_node node) {
  while (IsBlankText(node)) node = node.next_sibling();
  return HandleOf(node);
}

// The topmost element above or at a node.
pugi::xml_node Top(pugi::xml_node node) {
  while (node.parent().type() == pugi::node_element) node = node.parent();
  return node;
}

}  // namespace

DomResult PugiDocument::LoadXml(std::string_view text, bool& loaded) {
  Clear();
  const DomResult result = Contained([&] { return Parse(text); });
  loaded = result == kDomOk && m_root;
  if (!loaded) Clear();
  return result == kDomNothing ? kDomOk : result;
}

void PugiDocument::Clear() {
  m_store->Clear();
  m_root = {};
}

void PugiDocument::ForgetNodes() {
  if (!IsNone(m_store->kept.first_child())) m_store->kept.reset();
  m_store->declarations.Forget();
}

// Gives `kDomOk`, or `kDomNothing` for a text that cannot be parsed.
DomResult PugiDocument::Parse(std::string_view text) {
  std::string& source = m_store->source;
  m_store->text.SourceToTree(text, source);
  NormaliseLineEnds(source);
  const pugi::xml_parse_result result = Tree().load_buffer_inplace(
      source.data(), source.size(), kPugiParseOptions, pugi::encoding_utf8);
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

DomResult PugiDocument::DocumentElement(DomNode& element) {
  element = HandleOf(m_root);
  return element != nullptr ? kDomOk : kDomNothing;
}

DomResult PugiDocument::FirstChild(DomNode node, DomNode& child) {
  child = FirstSeen(NodeOf(node).first_child());
  return child != nullptr ? kDomOk : kDomNothing;
}

DomResult PugiDocument::NextSibling(DomNode node, DomNode& sibling) {
  sibling = FirstSeen(NodeOf(node).next_sibling());
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
  return element != nullptr ? kDomOk : kDomNoInterface;
}

DomResult PugiDocument::Attribute(DomNode element, std::string_view name, std::string& value) {
  const pugi::xml_node owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    m_store->text.ToTreeValue(name, m_store->name);
    pugi::xml_attribute attribute;
    if (m_store->name == kDefaultDeclaration) attribute = owner.attribute(kShownDeclaration);
    if (!attribute) attribute = owner.attribute(m_store->name.c_str());
    if (!attribute) return kDomNothing;
    m_store->text.FromTree(attribute.value(), value);
    return kDomOk;
  });
}

DomResult PugiDocument::SelectNode(DomNode context, std::string_view path, DomNode& node) {
  node = nullptr;
  PathStart start = {context == nullptr ? Tree() : NodeOf(context), m_root};
  if (!start.context) return kDomBadArgument;
  if (!IsSame(start.context.root(), Tree())) start.root = Top(start.context);
  return Contained([&] {
    pugi::xpath_node found;
    const DomResult result =
        m_store->paths.Select(start, m_store->text.InTree(path, m_store->name), found);
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
    WriteNode(node == nullptr ? HandleOf(Tree()) : node, m_store->value);
    m_store->text.TakeFromTree(m_store->value, xml);
    return kDomOk;
  });
}

void PugiDocument::WriteNode(DomNode node, std::string& utf8) {
  if (IsAttribute(node)) {
    AppendXml(AttributeOf(node), utf8);
  } else if (const pugi::xml_node element = ElementOf(node)) {
    AppendXml(element, utf8, InheritedDeclarations(element), m_store->source.size());
  } else {
    AppendXml(NodeOf(node), utf8, {}, m_store->source.size());
  }
}

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
