#include "xml/msxml/MsxmlNamespaces.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "platform/windows/Bstr.h"
#include "platform/windows/ComPtr.h"
#include "platform/windows/Variant.h"
#include "xml/msxml/MsxmlNodes.h"
#include "xml/msxml/SerialisedXml.h"

namespace tlk {
namespace {

constexpr std::u16string_view kDefault = u"xmlns";
constexpr std::u16string_view kWithPrefix = u"xmlns:";

using Declarations = std::vector<std::pair<std::u16string, std::u16string>>;

bool Declares(const Declarations& declarations, std::u16string_view name) {
  return std::any_of(declarations.begin(), declarations.end(),
                     [name](const auto& declaration) { return declaration.first == name; });
}

template <typename Interface>
std::u16string TextOf(Interface* node, HRESULT (WINAPI Interface::*get)(BSTR*)) {
  Bstr text;
  (node->*get)(text.Put());
  return std::u16string(text.View());
}

// Whether an element decides what the default namespace is, which it then gives: by a declaration,
// or by being in it, for some versions do not show the declaration.
bool DecidesDefault(IXMLDOMElement* element, std::u16string& uri) {
  Variant declared;
  if (element->getAttribute(Bstr(kDefault).Get(), declared.Put()) == S_OK) {
    uri = declared.Text();
    return true;
  }
  if (!TextOf<IXMLDOMNode>(element, &IXMLDOMNode::get_prefix).empty()) return false;
  uri = TextOf<IXMLDOMNode>(element, &IXMLDOMNode::get_namespaceURI);
  return true;
}

// The default namespace of what stands in a place.
std::u16string DefaultIn(ComPtr<IXMLDOMNode> place) {
  std::u16string uri;
  for (; place; place = ParentOf(place.Get())) {
    const ComPtr<IXMLDOMElement> element = AsElement(place.Get());
    if (!element || DecidesDefault(element.Get(), uri)) break;
  }
  return uri;
}

void CollectPrefixes(IXMLDOMNode* element, Declarations& declarations) {
  ComPtr<IXMLDOMNamedNodeMap> attributes;
  LONG count = 0;
  if (element->get_attributes(attributes.Put()) != S_OK) return;
  attributes->get_length(&count);
  for (LONG i = 0; i < count; ++i) {
    ComPtr<IXMLDOMNode> attribute;
    if (attributes->get_item(i, attribute.Put()) != S_OK || !attribute) continue;
    std::u16string name = TextOf(attribute.Get(), &IXMLDOMNode::get_nodeName);
    if (!name.starts_with(kWithPrefix) || Declares(declarations, name)) continue;
    declarations.emplace_back(std::move(name), TextOf(attribute.Get(), &IXMLDOMNode::get_text));
  }
}

Declarations DeclaredAbove(IXMLDOMNode* element) {
  Declarations declarations;
  const ComPtr<IXMLDOMNode> parent = ParentOf(element);
  std::u16string uri = DefaultIn(parent);
  if (!uri.empty()) declarations.emplace_back(kDefault, std::move(uri));
  for (ComPtr<IXMLDOMNode> above = parent; AsElement(above.Get()); above = ParentOf(above.Get()))
    CollectPrefixes(above.Get(), declarations);
  return declarations;
}

}  // namespace

bool InheritsDeclarations(IXMLDOMNode* element) { return !DeclaredAbove(element).empty(); }

void WriteInheritedDeclarations(IXMLDOMNode* element, std::u16string& xml) {
  Declarations declarations = DeclaredAbove(element);
  if (declarations.empty()) return;
  std::size_t end = BehindTagName(xml, 0);
  WrittenAttribute written;
  while (ReadWrittenAttribute(xml, end, written))
    std::erase_if(declarations, [&](const auto& known) { return known.first == written.name; });
  std::u16string missing;
  for (const auto& [name, uri] : declarations)
    missing.append(u" ").append(name).append(u"=\"").append(EscapedValue(uri)).append(u"\"");
  xml.insert(end, missing);
}

void KeepInNoNamespace(IXMLDOMNode* element, IXMLDOMNode* parent) {
  const ComPtr<IXMLDOMElement> kept = AsElement(element);
  std::u16string uri;
  if (!kept || !DecidesDefault(kept.Get(), uri) || !uri.empty()) return;
  Variant declared;
  if (DefaultIn(ComPtr<IXMLDOMNode>(parent)).empty()) return;
  if (kept->getAttribute(Bstr(kDefault).Get(), declared.Put()) == S_OK) return;
  const Variant none{Bstr(std::u16string_view())};
  kept->setAttribute(Bstr(kDefault).Get(), none.Get());
}

}  // namespace tlk
