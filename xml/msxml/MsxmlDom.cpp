#include "xml/msxml/MsxmlDom.h"

#include <msxml2.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "platform/AnsiText.h"
#include "platform/windows/Bstr.h"
#include "platform/windows/ComPtr.h"
#include "platform/windows/Variant.h"
#include "xml/DomAdapter.h"
#include "xml/PathNames.h"
#include "xml/XmlCharacters.h"
#include "xml/XmlMarkup.h"
#include "xml/msxml/MsxmlDocument.h"
#include "xml/msxml/MsxmlNamespaces.h"
#include "xml/msxml/MsxmlNodes.h"
#include "xml/msxml/SerialisedXml.h"

namespace tlk {
namespace {

VARIANT_BOOL Truth(bool on) { return on ? VARIANT_TRUE : VARIANT_FALSE; }

bool IsForbidden(char16_t unit) {
  return !IsXmlCharacter(unit) && !IsHighSurrogate(unit) && !IsLowSurrogate(unit);
}

// The text is characters already, whatever encoding its declaration names.
std::u16string_view WithoutDeclaration(std::u16string_view text) {
  XmlDeclaration<char16_t> declaration(text.data(), text.data() + text.size());
  if (!declaration.Present() || !declaration.Read()) return text;
  return text.substr(static_cast<std::size_t>(declaration.Position() - text.data()));
}

}  // namespace

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
  if (FAILED(result)) return ResultOf(result);
  if (!node) return kDomNothing;
  handle = reinterpret_cast<DomNode>(node.Get());
  m_nodes.push_back(std::move(node));
  return kDomOk;
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
  m_nodes.clear();
  return Contained([&] {
    WidenSource(m_codePage, text, m_wide);
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
    return ResultOf(result);
  });
}

DomResult MsxmlDocument::AsElement(DomNode node, DomNode& element) {
  element = ElementOf(node) ? node : nullptr;
  return element != nullptr ? kDomOk : kDomNothing;
}

DomResult MsxmlDocument::Attribute(DomNode element, std::string_view name, std::string& value) {
  const Element owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    Variant text;
    HRESULT result = owner->getAttribute(Value(name).Get(), text.Put());
    if (result != S_OK || text.Type() == VT_NULL)
      return FAILED(result) ? ResultOf(result) : kDomNothing;
    result = text.ChangeTo(VT_BSTR);
    if (result == S_OK) Narrow(text.Text(), value);
    return ResultOf(result);
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
    return ResultOf(result);
  });
}

DomResult MsxmlDocument::Xml(DomNode node, std::string& xml) {
  return Contained([&] {
    const HRESULT result = Serialise(node == nullptr ? m_document.Get() : NodeOf(node));
    if (result == S_OK) Narrow(m_wide, xml);
    return ResultOf(result);
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
