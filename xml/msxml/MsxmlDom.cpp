#include "xml/msxml/MsxmlDom.h"

#include <msxml2.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "platform/AnsiText.h"
#include "platform/windows/Bstr.h"
#include "platform/windows/ComPtr.h"
#include "platform/windows/Variant.h"
#include "xml/Contained.h"
#include "xml/PathNames.h"
#include "xml/XmlCharacters.h"
#include "xml/XmlDeclaration.h"
#include "xml/msxml/MsxmlNamespaces.h"
#include "xml/msxml/SerialisedXml.h"

namespace tlk {
namespace {

// Ids that not every SDK's libraries hold.
constexpr CLSID kDomDocument30 = {
    0xf5078f32, 0xc551, 0x11d3, {0x89, 0xb9, 0x00, 0x00, 0xf8, 0x1f, 0xe2, 0x21}};
constexpr IID kDomDocument2 = {
    0x2933bf95, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}};

using Document = ComPtr<IXMLDOMDocument2>;
using Node = ComPtr<IXMLDOMNode>;
using Element = ComPtr<IXMLDOMElement>;

DomResult Result(HRESULT result) { return static_cast<DomResult>(result); }

VARIANT_BOOL Truth(bool on) { return on ? VARIANT_TRUE : VARIANT_FALSE; }

IXMLDOMNode* NodeOf(DomNode handle) { return reinterpret_cast<IXMLDOMNode*>(handle); }

// The element behind a handle; none when it is no element.
Element ElementOf(DomNode handle) {
  Element element;
  if (handle != nullptr) NodeOf(handle)->QueryInterface(IID_IXMLDOMElement, element.PutVoid());
  return element;
}

DOMNodeType TypeOf(IXMLDOMNode* node) {
  DOMNodeType type = NODE_INVALID;
  return node->get_nodeType(&type) == S_OK ? type : NODE_INVALID;
}

bool IsAttribute(IXMLDOMNode* node) { return TypeOf(node) == NODE_ATTRIBUTE; }

Node ParentOf(IXMLDOMNode* node) {
  Node parent;
  if (!IsAttribute(node)) node->get_parentNode(parent.Put());
  return parent;
}

bool IsBlankText(IXMLDOMNode* node) {
  Variant value;
  return TypeOf(node) == NODE_TEXT && node->get_nodeValue(value.Put()) == S_OK &&
         value.Text().find_first_not_of(u" \t\r\n") == std::u16string_view::npos;
}

bool IsForbidden(char16_t unit) {
  return !IsXmlCharacter(unit) && !IsHighSurrogate(unit) && !IsLowSurrogate(unit);
}

// The text is characters already, whatever encoding its declaration names.
std::u16string_view WithoutDeclaration(std::u16string_view text) {
  XmlDeclaration<char16_t> declaration(text.data(), text.data() + text.size());
  if (!declaration.Present() || !declaration.Read()) return text;
  return text.substr(static_cast<std::size_t>(declaration.Position() - text.data()));
}

DomResult MakeDocument(Document& document) {
  return Result(CoCreateInstance(kDomDocument30, nullptr, CLSCTX_INPROC_SERVER, kDomDocument2,
                                 document.PutVoid()));
}

class MsxmlDocument : public DomDocument {
 public:
  MsxmlDocument(const AnsiText& codePage, Document document)
      : m_codePage(codePage), m_document(std::move(document)) {}

  DomResult SetAsync(bool on) override { return Result(m_document->put_async(Truth(on))); }
  DomResult SetValidateOnParse(bool on) override {
    return Result(m_document->put_validateOnParse(Truth(on)));
  }
  DomResult SetResolveExternals(bool on) override {
    return Result(m_document->put_resolveExternals(Truth(on)));
  }
  DomResult SelectXPath() override;

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
  Bstr Wide(std::string_view narrow);
  Bstr Value(std::string_view narrow);
  bool Name(std::string_view narrow, Bstr& name);
  void Narrow(std::u16string_view wide, std::string& narrow) const;
  DomResult Hold(HRESULT result, Node node, DomNode& handle);
  [[nodiscard]] bool Holds(DomNode handle) const;
  bool IsAtOrAbove(DomNode node, DomNode place);
  bool MayReplace(IXMLDOMNode* parent, IXMLDOMNode* old, IXMLDOMNode* fresh);
  DomResult HoldFirstSeen(HRESULT result, Node node, DomNode& handle);
  DomResult Bring(DomNode child, Node& brought);
  HRESULT Serialise(IXMLDOMNode* node);

  const AnsiText& m_codePage;
  Document m_document;
  std::vector<Node> m_nodes;  // whatever a handle was given for
  std::u16string m_wide;      // scratch space
};

Bstr MsxmlDocument::Wide(std::string_view narrow) {
  m_codePage.Widen(narrow, m_wide);
  return Bstr(m_wide);
}

Bstr MsxmlDocument::Value(std::string_view narrow) {
  m_codePage.Widen(narrow.substr(0, narrow.find('\0')), m_wide);
  std::replace_if(m_wide.begin(), m_wide.end(), IsForbidden, u'?');
  return Bstr(m_wide);
}

// False for what cannot be a name.
bool MsxmlDocument::Name(std::string_view narrow, Bstr& name) {
  name = Value(narrow);
  return IsXmlName(name.View());
}

// All or nothing.
void MsxmlDocument::Narrow(std::u16string_view wide, std::string& narrow) const {
  std::string converted;
  m_codePage.Narrow(wide, converted);
  narrow.swap(converted);
}

// Keeps a node for as long as its handle is good.
DomResult MsxmlDocument::Hold(HRESULT result, Node node, DomNode& handle) {
  if (FAILED(result)) return Result(result);
  if (!node) return kDomNothing;
  handle = reinterpret_cast<DomNode>(node.Get());
  m_nodes.push_back(std::move(node));
  return kDomOk;
}

bool MsxmlDocument::Holds(DomNode handle) const {
  return std::any_of(m_nodes.rbegin(), m_nodes.rend(),
                     [handle](const Node& node) { return node.Get() == NodeOf(handle); });
}

DomResult MsxmlDocument::SelectXPath() {
  return Contained([&] {
    const Bstr property(std::u16string_view(u"SelectionLanguage"));
    const Variant language{Bstr(std::u16string_view(u"XPath"))};
    return Result(m_document->setProperty(property.Get(), language.Get()));
  });
}

DomResult MsxmlDocument::LoadXml(std::string_view text, bool& loaded) {
  loaded = false;
  m_nodes.clear();
  return Contained([&] {
    m_codePage.Widen(text, m_wide);
    const Bstr source(WithoutDeclaration(m_wide));
    VARIANT_BOOL parsed = VARIANT_FALSE;
    const HRESULT result = m_document->loadXML(source.Get(), &parsed);
    loaded = SUCCEEDED(result) && parsed != VARIANT_FALSE;
    return SUCCEEDED(result) ? kDomOk : Result(result);
  });
}

DomResult MsxmlDocument::ParseErrorReason(std::string& reason) {
  return Contained([&] {
    ComPtr<IXMLDOMParseError> error;
    HRESULT result = m_document->get_parseError(error.Put());
    if (result != S_OK) return Result(result);
    Bstr text;
    result = error->get_reason(text.Put());
    if (result == S_OK) Narrow(text.View(), reason);
    return Result(result);
  });
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
  return root ? Result(m_document->putref_documentElement(root.Get())) : kDomBadArgument;
}

DomResult MsxmlDocument::DocumentElement(DomNode& element) {
  element = nullptr;
  return Contained([&] {
    Element root;
    const HRESULT result = m_document->get_documentElement(root.Put());
    return Hold(result, Node(root.Get()), element);
  });
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
    return Result(element->appendChild(brought.Get(), nullptr));
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
  result = Result(copy->get_documentElement(root.Put()));
  brought = Node(root.Get());
  return result;
}

DomResult MsxmlDocument::Remove(DomNode node) {
  if (node == nullptr) return kDomBadArgument;
  const Node parent = ParentOf(NodeOf(node));
  return parent ? Result(parent->removeChild(NodeOf(node), nullptr)) : kDomBadArgument;
}

// At the top of a document stand comments, processing instructions and one element. Not every
// version of this DOM sees to that.
bool MsxmlDocument::MayReplace(IXMLDOMNode* parent, IXMLDOMNode* old, IXMLDOMNode* fresh) {
  if (TypeOf(parent) != NODE_DOCUMENT) return true;
  const DOMNodeType type = TypeOf(fresh);
  if (type != NODE_ELEMENT) return type == NODE_COMMENT || type == NODE_PROCESSING_INSTRUCTION;
  Element root;
  return TypeOf(old) == NODE_ELEMENT || m_document->get_documentElement(root.Put()) != S_OK;
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
    return Result(parent->replaceChild(brought.Get(), old, nullptr));
  });
}

// Keeps the node, or the next one behind it that is to be seen: no blanks between elements.
DomResult MsxmlDocument::HoldFirstSeen(HRESULT result, Node node, DomNode& handle) {
  while (node && IsBlankText(node.Get())) {
    Node next;
    result = node->get_nextSibling(next.Put());
    node = std::move(next);
  }
  return Hold(result, std::move(node), handle);
}

DomResult MsxmlDocument::FirstChild(DomNode node, DomNode& child) {
  child = nullptr;
  if (node == nullptr || IsAttribute(NodeOf(node))) return kDomNothing;
  return Contained([&] {
    Node first;
    const HRESULT result = NodeOf(node)->get_firstChild(first.Put());
    return HoldFirstSeen(result, std::move(first), child);
  });
}

DomResult MsxmlDocument::NextSibling(DomNode node, DomNode& sibling) {
  sibling = nullptr;
  if (node == nullptr || IsAttribute(NodeOf(node))) return kDomNothing;
  return Contained([&] {
    Node next;
    const HRESULT result = NodeOf(node)->get_nextSibling(next.Put());
    return HoldFirstSeen(result, std::move(next), sibling);
  });
}

DomResult MsxmlDocument::BaseName(DomNode node, std::string& name) {
  const Element element = ElementOf(node);
  if (!element) return kDomNothing;
  return Contained([&] {
    Bstr text;
    const HRESULT result = element->get_baseName(text.Put());
    if (result == S_OK) Narrow(text.View(), name);
    return Result(result);
  });
}

DomResult MsxmlDocument::AsElement(DomNode node, DomNode& element) {
  element = ElementOf(node) ? node : nullptr;
  return element != nullptr ? kDomOk : kDomNothing;
}

DomResult MsxmlDocument::SetAttribute(DomNode element, std::string_view name,
                                      std::string_view value) {
  const Element owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    Bstr attribute;
    if (!Name(name, attribute)) return kDomBadArgument;
    const Variant text{Value(value)};
    return Result(owner->setAttribute(attribute.Get(), text.Get()));
  });
}

DomResult MsxmlDocument::Attribute(DomNode element, std::string_view name, std::string& value) {
  const Element owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    Variant text;
    HRESULT result = owner->getAttribute(Value(name).Get(), text.Put());
    if (result != S_OK || text.Type() == VT_NULL)
      return FAILED(result) ? Result(result) : kDomNothing;
    result = text.ChangeTo(VT_BSTR);
    if (result == S_OK) Narrow(text.Text(), value);
    return Result(result);
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
      if (result != S_OK) return Result(result);
    }
    return value.View().empty() ? kDomOk : Result(owner->put_text(value.Get()));
  });
}

DomResult MsxmlDocument::SelectNode(DomNode context, std::string_view path, DomNode& node) {
  node = nullptr;
  return Contained([&] {
    if (!NamesNoPrefix(path)) return kDomFailed;
    IXMLDOMNode* const start = context == nullptr ? m_document.Get() : NodeOf(context);
    Node found;
    const HRESULT result = start->selectSingleNode(Wide(path).Get(), found.Put());
    return Hold(result, std::move(found), node);
  });
}

DomResult MsxmlDocument::Text(DomNode node, std::string& text) {
  if (node == nullptr) return kDomBadArgument;
  return Contained([&] {
    Bstr wide;
    const HRESULT result = NodeOf(node)->get_text(wide.Put());
    if (result == S_OK) Narrow(wide.View(), text);
    return Result(result);
  });
}

DomResult MsxmlDocument::Xml(DomNode node, std::string& xml) {
  return Contained([&] {
    const HRESULT result = Serialise(node == nullptr ? m_document.Get() : NodeOf(node));
    if (result == S_OK) Narrow(m_wide, xml);
    return Result(result);
  });
}

// Writes a node to the scratch space.
HRESULT MsxmlDocument::Serialise(IXMLDOMNode* node) {
  Bstr text;
  const HRESULT result = node->get_xml(text.Put());
  if (result != S_OK) return result;
  m_wide.assign(text.View());
  SettleAttributes(m_wide, IsAttribute(node));
  if (ElementOf(reinterpret_cast<DomNode>(node))) WriteInheritedDeclarations(node, m_wide);
  return result;
}

}  // namespace

DomResult MsxmlDomFactory::NewDocument(std::unique_ptr<DomDocument>& document) {
  document = nullptr;
  return Contained([&] {
    Document made;
    const DomResult result = MakeDocument(made);
    if (Succeeded(result)) document = std::make_unique<MsxmlDocument>(m_text, std::move(made));
    return result;
  });
}

}  // namespace tlk
