#include "xml/msxml/MsxmlDom.h"

#include <msxml2.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "platform/AnsiText.h"
#include "platform/Utf8.h"
#include "platform/windows/Bstr.h"
#include "platform/windows/ComPtr.h"
#include "platform/windows/Variant.h"
#include "xml/DomAdapter.h"
#include "xml/PathNames.h"
#include "xml/XmlCharacters.h"
#include "xml/XmlMarkup.h"
#include "xml/msxml/MsxmlDocument.h"
#include "xml/msxml/MsxmlNamespaces.h"
#include "xml/msxml/SerialisedXml.h"

namespace tlk {
namespace {

// Ids that not every SDK's libraries hold.
constexpr CLSID kDomDocument30 = {
    0xf5078f32, 0xc551, 0x11d3, {0x89, 0xb9, 0x00, 0x00, 0xf8, 0x1f, 0xe2, 0x21}};
constexpr IID kDomDocument2 = {
    0x2933bf95, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}};

VARIANT_BOOL Truth(bool on) { return on ? VARIANT_TRUE : VARIANT_FALSE; }

bool IsForbidden(char16_t unit) {
  return !IsXmlCharacter(unit) && !IsHighSurrogate(unit) && !IsLowSurrogate(unit);
}

// Whether a node is a text, and no CDATA section, of white space alone.
bool IsBlankText(IXMLDOMNode* node) {
  Variant value;
  return TypeOf(node) == NODE_TEXT && node->get_nodeValue(value.Put()) == S_OK &&
         value.Text().find_first_not_of(u" \t\r\n") == std::u16string_view::npos;
}

// The text consists of characters, so an encoding that its declaration names must not be believed.
std::u16string_view WithoutDeclaration(std::u16string_view text) {
  XmlDeclaration<char16_t> declaration(text.data(), text.data() + text.size());
  if (!declaration.Present() || !declaration.Read()) return text;
  return text.substr(static_cast<std::size_t>(declaration.Position() - text.data()));
}

}  // namespace

DomResult MakeDocument(ComPtr<IXMLDOMDocument2>& document) {
  return ResultOf(CoCreateInstance(kDomDocument30, nullptr, CLSCTX_INPROC_SERVER, kDomDocument2,
                                   document.PutVoid()));
}

DomResult ReadElement(std::u16string_view text, ComPtr<IXMLDOMElement>& element) {
  ComPtr<IXMLDOMDocument2> document;
  const DomResult result = MakeDocument(document);
  if (result != kDomOk) return result;
  VARIANT_BOOL parsed = VARIANT_FALSE;
  document->put_async(VARIANT_FALSE);
  document->put_validateOnParse(VARIANT_FALSE);
  document->put_resolveExternals(VARIANT_FALSE);
  std::u16string source(text);
  NormaliseLineEnds(source);
  if (document->loadXML(Bstr(source).Get(), &parsed) != S_OK) return kDomFailed;
  return ResultOf(document->get_documentElement(element.Put()));
}

DomResult MsxmlDocument::SetAsync(bool on) { return ResultOf(m_document->put_async(Truth(on))); }

DomResult MsxmlDocument::SetValidateOnParse(bool on) {
  return ResultOf(m_document->put_validateOnParse(Truth(on)));
}

DomResult MsxmlDocument::SetResolveExternals(bool on) {
  return ResultOf(m_document->put_resolveExternals(Truth(on)));
}

Bstr MsxmlDocument::Wide(std::string_view narrow) {
  m_codePage.Widen(narrow, m_wide);
  return Bstr(m_wide);
}

Bstr MsxmlDocument::Value(std::string_view narrow) {
  m_codePage.Widen(narrow.substr(0, narrow.find('\0')), m_wide);
  std::replace_if(m_wide.begin(), m_wide.end(), IsForbidden, u'?');
  return Bstr(m_wide);
}

// Writes `narrow` only when all of the text could be converted.
void MsxmlDocument::Narrow(std::u16string_view wide, std::string& narrow) const {
  std::string converted;
  m_codePage.Narrow(wide, converted);
  narrow.swap(converted);
}

// Keeps a node for as long as its handle is good.
DomResult MsxmlDocument::Hold(HRESULT result, Node node, DomNode& handle, const MsxmlNode* parent) {
  if (FAILED(result)) return ResultOf(result);
  if (!node) return kDomNothing;
  m_nodes.push_back({std::move(node), this, parent});
  handle = reinterpret_cast<DomNode>(&m_nodes.back());
  return kDomOk;
}

void MsxmlDocument::ForgetNodes() {
  m_nodes.clear();
  m_declarationsOver = nullptr;
}

DomResult MsxmlDocument::SelectXPath() {
  return Contained([&] {
    const Bstr property(std::u16string_view(u"SelectionLanguage"));
    const Variant language{Bstr(std::u16string_view(u"XPath"))};
    return ResultOf(m_document->setProperty(property.Get(), language.Get()));
  });
}

DomResult MsxmlDocument::LoadXml(std::string_view text, bool& loaded) {
  loaded = false;
  ForgetNodes();
  m_namesXml = text.find("xml:") != std::string_view::npos;
  return Contained([&] {
    WidenSource(m_codePage, text, m_wide);
    NormaliseLineEnds(m_wide);
    const Bstr source(WithoutDeclaration(m_wide));
    VARIANT_BOOL parsed = VARIANT_FALSE;
    const HRESULT result = m_document->loadXML(source.Get(), &parsed);
    loaded = SUCCEEDED(result) && parsed != VARIANT_FALSE;
    return SUCCEEDED(result) ? kDomOk : ResultOf(result);
  });
}

DomResult MsxmlDocument::ParseErrorReason(std::string& reason) {
  return Contained([&] {
    ComPtr<IXMLDOMParseError> error;
    HRESULT result = m_document->get_parseError(error.Put());
    if (result != S_OK) return ResultOf(result);
    Bstr text;
    result = error->get_reason(text.Put());
    if (result == S_OK) Narrow(text.View(), reason);
    return ResultOf(result);
  });
}

DomResult MsxmlDocument::DocumentElement(DomNode& element) {
  element = nullptr;
  return Contained([&] {
    Element root;
    const HRESULT result = m_document->get_documentElement(root.Put());
    return Hold(result, Node(root.Get()), element);
  });
}

// Keeps the node, or the next one behind it that is to be seen: no blanks between elements.
DomResult MsxmlDocument::HoldFirstSeen(HRESULT result, Node node, DomNode& handle,
                                       const MsxmlNode* parent) {
  while (node && IsBlankText(node.Get())) {
    Node next;
    result = node->get_nextSibling(next.Put());
    node = std::move(next);
  }
  return Hold(result, std::move(node), handle, parent);
}

DomResult MsxmlDocument::FirstChild(DomNode node, DomNode& child) {
  child = nullptr;
  if (node == nullptr || IsAttribute(NodeOf(node))) return kDomNothing;
  return Contained([&] {
    Node first;
    const HRESULT result = NodeOf(node)->get_firstChild(first.Put());
    return HoldFirstSeen(result, std::move(first), child, HeldNode(node));
  });
}

DomResult MsxmlDocument::NextSibling(DomNode node, DomNode& sibling) {
  sibling = nullptr;
  if (node == nullptr || IsAttribute(NodeOf(node))) return kDomNothing;
  return Contained([&] {
    Node next;
    const HRESULT result = NodeOf(node)->get_nextSibling(next.Put());
    return HoldFirstSeen(result, std::move(next), sibling, HeldNode(node)->parent);
  });
}

DomResult MsxmlDocument::BaseName(DomNode node, std::string& name) {
  const Element element = ElementOf(node);
  if (!element) return kDomNothing;
  return Contained([&] {
    Bstr text;
    const HRESULT result = element->get_baseName(text.Put());
    if (result == S_OK) Narrow(text.View(), name);
    return ResultOf(result);
  });
}

DomResult MsxmlDocument::AsElement(DomNode node, DomNode& element) {
  element = ElementOf(node) ? node : nullptr;
  return element != nullptr ? kDomOk : kDomNoInterface;
}

DomResult MsxmlDocument::Attribute(DomNode element, std::string_view name, std::string& value) {
  const Element owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    const Bstr attribute = Value(name);
    if (IsDeclaration(attribute.View()))
      return OwnDeclaration(owner.Get(), attribute.View(), value);
    Variant text;
    HRESULT result = owner->getAttribute(attribute.Get(), text.Put());
    if (result != S_OK || text.Type() == VT_NULL)
      return FAILED(result) ? ResultOf(result) : kDomNothing;
    result = text.ChangeTo(VT_BSTR);
    if (result == S_OK) Narrow(text.Text(), value);
    return ResultOf(result);
  });
}

// The value of a declaration, which not every version of this DOM shows where it is made, or only
// there.
DomResult MsxmlDocument::OwnDeclaration(IXMLDOMElement* element, std::u16string_view name,
                                        std::string& value) {
  std::u16string written;
  if (!FindOwnDeclaration(element, name, written)) return kDomNothing;
  Element reader;
  const DomResult result = ReadElement(u"<a xmlns=\"" + written + u"\"/>", reader);
  if (result != kDomOk) return result;
  Bstr uri;
  reader->get_namespaceURI(uri.Put());
  Narrow(uri.View(), value);
  return kDomOk;
}

DomResult MsxmlDocument::SelectNode(DomNode context, std::string_view path, DomNode& node) {
  node = nullptr;
  return Contained([&] {
    // Not every version of this DOM refuses all that is no expression, or a prefix that is bound.
    Bstr expression = Wide(path);
    std::string utf8;
    AppendUtf8(m_wide, utf8);
    if (!IsPath(utf8)) return kDomFailed;
    // Not every version of this DOM stops at the first child of a name unless it is told to.
    if (IsXmlName(expression.View())) expression = Wide(std::string(path).append("[1]"));
    IXMLDOMNode* const start = context == nullptr ? m_document.Get() : NodeOf(context);
    Node found;
    const HRESULT result = start->selectSingleNode(expression.Get(), found.Put());
    return Hold(result, std::move(found), node);
  });
}

DomResult MsxmlDocument::Text(DomNode node, std::string& text) {
  if (node == nullptr) return kDomBadArgument;
  return Contained([&] {
    Bstr wide;
    const HRESULT result = NodeOf(node)->get_text(wide.Put());
    if (result == S_OK) Narrow(wide.View(), text);
    return ResultOf(result);
  });
}

DomResult MsxmlDocument::Xml(DomNode node, std::string& xml) {
  return Contained([&] {
    const HRESULT result = Serialise(node);
    if (result == S_OK) Narrow(m_wide, xml);
    return ResultOf(result);
  });
}

// Writes a node to the scratch space, or the document for none.
HRESULT MsxmlDocument::Serialise(DomNode handle) {
  IXMLDOMNode* const node = handle == nullptr ? m_document.Get() : NodeOf(handle);
  Bstr text;
  const HRESULT result = node->get_xml(text.Put());
  if (result != S_OK) return result;
  m_wide.assign(text.View());
  SettleAttributes(m_wide, IsAttribute(node));
  if (ElementOf(handle))
    WriteDeclarations(HeldNode(handle)->document->DeclaredAbove(*HeldNode(handle)), m_wide);
  return result;
}

// What is declared above a node. Its siblings are often asked for next.
const Declarations& MsxmlDocument::DeclaredAbove(const MsxmlNode& node) {
  if (node.parent == nullptr || node.parent != m_declarationsOver) {
    m_declarationsOver = nullptr;
    m_declarations = DeclarationsAbove(node.node.Get());
    m_declarationsOver = node.parent;
  }
  return m_declarations;
}

DomResult MsxmlDomFactory::NewDocument(std::unique_ptr<DomDocument>& document) {
  document = nullptr;
  return Contained([&] {
    ComPtr<IXMLDOMDocument2> made;
    const DomResult result = MakeDocument(made);
    if (Succeeded(result)) document = std::make_unique<MsxmlDocument>(m_text, std::move(made));
    return result;
  });
}

}  // namespace tlk
