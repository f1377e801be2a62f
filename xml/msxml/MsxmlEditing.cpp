#include <msxml2.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/windows/Bstr.h"
#include "platform/windows/Variant.h"
#include "xml/DomAdapter.h"
#include "xml/GateNamespaces.h"
#include "xml/msxml/MsxmlDocument.h"
#include "xml/msxml/MsxmlNamespaces.h"
#include "xml/msxml/MsxmlNodes.h"

namespace tlk {
namespace {

// At the top of a document stand comments, processing instructions and one element. Not every
// version of this DOM sees to that.
bool MayReplaceAtTop(IXMLDOMNode* old, IXMLDOMNode* fresh, bool hasRoot) {
  const DOMNodeType type = TypeOf(fresh);
  if (type == NODE_ELEMENT) return TypeOf(old) == NODE_ELEMENT || !hasRoot;
  return type == NODE_COMMENT || type == NODE_PROCESSING_INSTRUCTION;
}

}  // namespace

bool MsxmlDocument::Holds(DomNode handle) const {
  return std::any_of(m_nodes.rbegin(), m_nodes.rend(),
                     [handle](const Node& node) { return node.Get() == NodeOf(handle); });
}

DomResult MsxmlDocument::CreateElement(std::string_view name, DomNode& element) {
  element = nullptr;
  return Contained([&] {
    Bstr tag;
    if (!Name(name, tag)) return kDomBadArgument;
    Element made;
    const HRESULT result = m_document->createElement(tag.Get(), made.Put());
    return Hold(result, Node(made.Get()), element);
  });
}

DomResult MsxmlDocument::SetDocumentElement(DomNode element) {
  const Element root = ElementOf(element);
  return root ? ResultOf(m_document->putref_documentElement(root.Get())) : kDomBadArgument;
}

DomResult MsxmlDocument::AppendChild(DomNode parent, DomNode child) {
  const Element element = ElementOf(parent);
  if (!element || child == nullptr) return kDomBadArgument;
  return Contained([&] {
    if (IsAtOrAbove(child, parent)) return kDomBadArgument;
    Node brought;
    const DomResult result = Bring(child, brought);
    if (result != kDomOk) return result;
    KeepInNoNamespace(brought.Get(), element.Get());
    return ResultOf(element->appendChild(brought.Get(), nullptr));
  });
}

// Not every version of this DOM refuses to put an element under itself. Nor do they all give the
// same node the same address, so the element is marked and looked for.
bool MsxmlDocument::IsAtOrAbove(DomNode node, DomNode place) {
  if (node == place) return true;
  const Element element = ElementOf(node);
  VARIANT_BOOL hasChildren = VARIANT_FALSE;
  if (!element || !Holds(node)) return false;
  if (element->hasChildNodes(&hasChildren) != S_OK && !ParentOf(element.Get())) return false;
  SelectXPath();
  const Bstr mark(std::u16string_view(u"_about-to-move"));
  const Bstr path(std::u16string_view(u"ancestor-or-self::*[@_about-to-move]"));
  const Variant set{Bstr(std::u16string_view(u"1"))};
  element->setAttribute(mark.Get(), set.Get());
  Node found;
  NodeOf(place)->selectSingleNode(path.Get(), found.Put());
  element->removeAttribute(mark.Get());
  return static_cast<bool>(found);
}

// Brings an element of another document with the namespaces that are declared above it: as a copy
// that is read from text. Everything else can be taken as it is.
DomResult MsxmlDocument::Bring(DomNode child, Node& brought) {
  brought = Node(NodeOf(child));
  if (Holds(child) || !ElementOf(child)) return kDomOk;
  if (!InheritsDeclarations(brought.Get())) return kDomOk;
  Document copy;
  DomResult result = MakeDocument(copy);
  if (result != kDomOk) return result;
  VARIANT_BOOL parsed = VARIANT_FALSE;
  if (Serialise(NodeOf(child)) != S_OK) return kDomFailed;
  copy->put_async(VARIANT_FALSE);
  copy->put_validateOnParse(VARIANT_FALSE);
  copy->put_resolveExternals(VARIANT_FALSE);
  if (copy->loadXML(Bstr(m_wide).Get(), &parsed) != S_OK) return kDomFailed;
  Element root;
  result = ResultOf(copy->get_documentElement(root.Put()));
  brought = Node(root.Get());
  return result;
}

DomResult MsxmlDocument::Remove(DomNode node) {
  if (node == nullptr) return kDomBadArgument;
  const Node parent = ParentOf(NodeOf(node));
  return parent ? ResultOf(parent->removeChild(NodeOf(node), nullptr)) : kDomBadArgument;
}

bool MsxmlDocument::MayReplace(IXMLDOMNode* parent, IXMLDOMNode* old, IXMLDOMNode* fresh) {
  if (TypeOf(parent) != NODE_DOCUMENT) return true;
  Element root;
  return MayReplaceAtTop(old, fresh, m_document->get_documentElement(root.Put()) == S_OK);
}

DomResult MsxmlDocument::Replace(DomNode node, DomNode replacement) {
  if (node == nullptr || replacement == nullptr) return kDomBadArgument;
  return Contained([&] {
    IXMLDOMNode* const old = NodeOf(node);
    const Node parent = ParentOf(old);
    if (!parent || !MayReplace(parent.Get(), old, NodeOf(replacement))) return kDomBadArgument;
    if (IsAtOrAbove(replacement, node)) return kDomBadArgument;
    Node brought;
    const DomResult result = Bring(replacement, brought);
    if (result != kDomOk) return result;
    KeepInNoNamespace(brought.Get(), parent.Get());
    return ResultOf(parent->replaceChild(brought.Get(), old, nullptr));
  });
}

DomResult MsxmlDocument::SetAttribute(DomNode element, std::string_view name,
                                      std::string_view value) {
  const Element owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    Bstr attribute;
    if (!Name(name, attribute)) return kDomBadArgument;
    if (attribute.View() == u"xmlns" && IsReservedNamespace(value)) return kDomBadArgument;
    const Variant text{Value(value)};
    return ResultOf(owner->setAttribute(attribute.Get(), text.Get()));
  });
}

DomResult MsxmlDocument::SetText(DomNode element, std::string_view text) {
  const Element owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    const Bstr value = Value(text);
    Node child;
    while (owner->get_firstChild(child.Put()) == S_OK) {
      const HRESULT result = owner->removeChild(child.Get(), nullptr);
      if (result != S_OK) return ResultOf(result);
    }
    return value.View().empty() ? kDomOk : ResultOf(owner->put_text(value.Get()));
  });
}

}  // namespace tlk
