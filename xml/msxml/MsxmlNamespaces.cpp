#include "xml/msxml/MsxmlNamespaces.h"

#include <cstddef>
#include <unordered_set>

#include "platform/windows/Bstr.h"
#include "platform/windows/Variant.h"
#include "xml/msxml/SerialisedXml.h"

namespace tlk {
namespace {

template <typename Interface>
std::u16string TextOf(Interface* node, HRESULT (WINAPI Interface::*get)(BSTR*)) {
  Bstr text;
  (node->*get)(text.Put());
  return std::u16string(text.View());
}

std::u16string XmlOf(IXMLDOMNode* node) {
  std::u16string xml = TextOf(node, &IXMLDOMNode::get_xml);
  SettleAttributes(xml, false);
  return xml;
}

// The tag of an element, without what is in it: its attributes and the declarations that it makes
// or its names need. The DOM's own list of them takes time by the square of their number.
std::u16string TagOf(IXMLDOMNode* element) {
  ComPtr<IXMLDOMNode> copy;
  const bool isCopied = element->cloneNode(VARIANT_FALSE, copy.Put()) == S_OK && copy;
  return isCopied ? XmlOf(copy.Get()) : std::u16string();
}

// Visits the attributes of a tag until the visitor says that it has seen enough; tells whether it
// has.
template <typename Visitor>
bool VisitAttributes(std::u16string_view tag, Visitor hasEnough) {
  std::size_t at = BehindTagName(tag, 0);
  WrittenAttribute attribute;
  while (ReadWrittenAttribute(tag, at, attribute)) {
    if (hasEnough(attribute.name, tag.substr(attribute.value, attribute.end - attribute.value)))
      return true;
  }
  return false;
}

bool FindInTag(std::u16string_view tag, std::u16string_view name, std::u16string& written) {
  return VisitAttributes(tag, [&](std::u16string_view found, std::u16string_view value) {
    if (found == name) written.assign(value);
    return found == name;
  });
}

// Whether this DOM shows a declaration of the default namespace among the attributes. Some versions
// show only one that was set as an attribute; it does not change the namespace of the element.
bool ShowsDefault(IXMLDOMElement* element) {
  Variant shown;
  return element->getAttribute(Bstr(kDefaultDeclaration).Get(), shown.Put()) == S_OK;
}

// Whether the default namespace is decided at this element, and which it is, as it would be
// written: that of the element when its name has no prefix, else one that it declares.
bool SettlesDefault(IXMLDOMElement* element, std::u16string& written) {
  if (TextOf<IXMLDOMNode>(element, &IXMLDOMNode::get_prefix).empty()) {
    written = EscapedValue(TextOf<IXMLDOMNode>(element, &IXMLDOMNode::get_namespaceURI));
    return true;
  }
  return !ShowsDefault(element) && FindInTag(TagOf(element), kDefaultDeclaration, written);
}

// The default namespace of what stands in a place, as written.
std::u16string DefaultIn(ComPtr<IXMLDOMNode> place) {
  std::u16string written;
  for (; place; place = ParentOf(place.Get())) {
    const ComPtr<IXMLDOMElement> element = AsElement(place.Get());
    if (!element || SettlesDefault(element.Get(), written)) break;
  }
  return written;
}

}  // namespace

DOMNodeType TypeOf(IXMLDOMNode* node) {
  DOMNodeType type = NODE_INVALID;
  return node->get_nodeType(&type) == S_OK ? type : NODE_INVALID;
}

ComPtr<IXMLDOMElement> AsElement(IXMLDOMNode* node) {
  ComPtr<IXMLDOMElement> element;
  if (node != nullptr) node->QueryInterface(IID_IXMLDOMElement, element.PutVoid());
  return element;
}

ComPtr<IXMLDOMNode> ParentOf(IXMLDOMNode* node) {
  ComPtr<IXMLDOMNode> parent;
  if (!IsAttribute(node)) node->get_parentNode(parent.Put());
  return parent;
}

Declarations DeclarationsAbove(IXMLDOMNode* node) {
  Declarations declarations;
  const ComPtr<IXMLDOMNode> parent = ParentOf(node);
  std::u16string uri = DefaultIn(parent);
  if (!uri.empty()) declarations.emplace_back(kDefaultDeclaration, std::move(uri));
  std::unordered_set<std::u16string> known;
  for (ComPtr<IXMLDOMNode> above = parent; AsElement(above.Get()); above = ParentOf(above.Get())) {
    VisitAttributes(TagOf(above.Get()), [&](std::u16string_view name, std::u16string_view value) {
      if (name.starts_with(kPrefixDeclaration) && known.emplace(name).second)
        declarations.emplace_back(name, value);
      return false;
    });
  }
  return declarations;
}

void WriteDeclarations(const Declarations& declarations, std::u16string& xml) {
  std::unordered_set<std::u16string_view> written;
  std::size_t end = BehindTagName(xml, 0);
  WrittenAttribute attribute;
  while (ReadWrittenAttribute(xml, end, attribute)) written.insert(attribute.name);
  std::u16string missing;
  for (const auto& [name, value] : declarations) {
    if (!written.contains(name))
      missing.append(u" ").append(name).append(u"=\"").append(value).append(u"\"");
  }
  xml.insert(end, missing);
}

bool FindPrefix(IXMLDOMElement* element, std::u16string_view prefix, std::u16string& written) {
  const std::u16string name = std::u16string(kPrefixDeclaration).append(prefix);
  ComPtr<IXMLDOMNode> place(element);
  for (; AsElement(place.Get()); place = ParentOf(place.Get()))
    if (FindInTag(TagOf(place.Get()), name, written)) return true;
  return false;
}

bool FindOwnDeclaration(IXMLDOMElement* element, std::u16string_view name,
                        std::u16string& written) {
  // The tag alone, written by itself, would also declare what the element's names inherit.
  return FindInTag(XmlOf(element), name, written);
}

bool MayDeclareDefault(IXMLDOMElement* element, std::u16string_view value) {
  std::u16string settled;
  if (!SettlesDefault(element, settled) || settled == EscapedValue(value)) return true;
  return settled == DefaultIn(ParentOf(element));
}

void KeepInNoNamespace(IXMLDOMNode* node, IXMLDOMNode* parent) {
  const ComPtr<IXMLDOMElement> element = AsElement(node);
  if (!element || DefaultIn(ComPtr<IXMLDOMNode>(parent)).empty()) return;
  std::u16string declared;
  if (FindInTag(TagOf(node), kDefaultDeclaration, declared)) return;
  const Variant none{Bstr(std::u16string_view())};
  element->setAttribute(Bstr(kDefaultDeclaration).Get(), none.Get());
}

}  // namespace tlk
