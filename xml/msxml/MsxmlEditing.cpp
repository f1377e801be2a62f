#include <msxml2.h>

#include <string>
#include <string_view>
#include <utility>

#include "platform/windows/Bstr.h"
#include "platform/windows/Variant.h"
#include "xml/DomAdapter.h"
#include "xml/XmlCharacters.h"
#include "xml/msxml/MsxmlDocument.h"
#include "xml/msxml/MsxmlNamespaces.h"

namespace tlk {
namespace {

// At the top of a document stand comments, processing instructions and one element. Not every
// version of this DOM sees to that.
bool MayReplace(IXMLDOMDocument2* document, IXMLDOMNode* parent, IXMLDOMNode* old,
                IXMLDOMNode* fresh) {
  if (TypeOf(parent) != NODE_DOCUMENT) return true;
  const DOMNodeType type = TypeOf(fresh);
  ComPtr<IXMLDOMElement> root;
  if (type == NODE_ELEMENT)
    return TypeOf(old) == NODE_ELEMENT || document->get_documentElement(root.Put()) != S_OK;
  return type == NODE_COMMENT || type == NODE_PROCESSING_INSTRUCTION;
}

// Writes an element that has an attribute whose prefix is bound as at another element; false when
// it is not, or the name is none.
bool WriteElementWith(std::u16string_view name, IXMLDOMElement* place, std::u16string& text) {
  const std::size_t colon = name.find(u':');
  const std::u16string_view prefix = name.substr(0, colon);
  if (!IsXmlName(prefix) || !IsXmlName(name.substr(colon + 1)) || prefix == kDefaultDeclaration)
    return false;
  std::u16string uri;
  text = u"<a ";
  if (prefix != u"xml") {
    if (!FindPrefix(place, prefix, uri)) return false;
    text.append(kPrefixDeclaration).append(prefix).append(u"=\"").append(uri).append(u"\" ");
  }
  text.append(name).append(u"=\"\"/>");
  return true;
}

}  // namespace

DomResult MsxmlDocument::CreateElement(std::string_view name, DomNode& element) {
  element = nullptr;
  return Contained([&] {
    const Bstr tag = Value(name);
    if (!IsXmlName(tag.View())) return kDomBadArgument;
    Element made;
    const HRESULT result = m_document->createElement(tag.Get(), made.Put());
    return Hold(result, Node(made.Get()), element);
  });
}

DomResult MsxmlDocument::SetDocumentElement(DomNode& element) {
  const Element root = ElementOf(element);
  return root ? ResultOf(m_document->putref_documentElement(root.Get())) : kDomBadArgument;
}

DomResult MsxmlDocument::AppendChild(DomNode parent, DomNode& child) {
  const Element element = ElementOf(parent);
  if (!element || child == nullptr) return kDomBadArgument;
  return Contained([&] {
    DomNode brought = nullptr;
    DomResult result = Bring(child, brought);
    if (result != kDomOk) return result;
    KeepInNoNamespace(NodeOf(brought), element.Get());
    result = ResultOf(element->appendChild(NodeOf(brought), nullptr));
    if (result == kDomOk) child = brought;
    return result;
  });
}

// Where something is declared above an element of another document, it is read anew from its text,
// with the declarations. What may have `xml:lang` or its kin comes as a copy: with some versions of
// this DOM the namespace of these belongs to the document, which the node itself would outlive.
// Else it is moved, which takes half the time.
DomResult MsxmlDocument::Bring(DomNode child, DomNode& brought) {
  const MsxmlNode& held = *HeldNode(child);
  brought = child;
  if (held.document == this) return ParentOf(held.node.Get()) ? kDomBadArgument : kDomOk;
  Node foreign = held.node;
  if (ElementOf(child) && !held.document->DeclaredAbove(held).empty()) {
    Element read;
    if (Serialise(child) != S_OK) return kDomFailed;
    const DomResult result = ReadElement(m_wide, read);
    if (result != kDomOk) return result;
    foreign = Node(read.Get());
  }
  if (!held.document->m_namesXml) return Hold(S_OK, std::move(foreign), brought);
  Node copy;
  const HRESULT result = foreign->cloneNode(VARIANT_TRUE, copy.Put());
  return Hold(result, std::move(copy), brought);
}

DomResult MsxmlDocument::Remove(DomNode node, DomNode& /*kept*/) {
  if (node == nullptr) return kDomBadArgument;
  m_declarationsOver = nullptr;
  const Node parent = ParentOf(NodeOf(node));
  return parent ? ResultOf(parent->removeChild(NodeOf(node), nullptr)) : kDomBadArgument;
}

DomResult MsxmlDocument::Replace(DomNode node, DomNode replacement, DomNode& /*kept*/) {
  if (node == nullptr || replacement == nullptr) return kDomBadArgument;
  m_declarationsOver = nullptr;
  return Contained([&] {
    IXMLDOMNode* const old = NodeOf(node);
    const Node parent = ParentOf(old);
    if (!parent || !MayReplace(m_document.Get(), parent.Get(), old, NodeOf(replacement)))
      return kDomBadArgument;
    DomNode brought = nullptr;
    const DomResult result = Bring(replacement, brought);
    if (result != kDomOk) return result;
    KeepInNoNamespace(NodeOf(brought), parent.Get());
    return ResultOf(parent->replaceChild(NodeOf(brought), old, nullptr));
  });
}

DomResult MsxmlDocument::SetAttribute(DomNode element, std::string_view name,
                                      std::string_view value) {
  const Element owner = ElementOf(element);
  if (!owner) return kDomBadArgument;
  return Contained([&] {
    const Bstr attribute = Value(name);
    const Variant text{Value(value)};
    if (attribute.View().find(u':') != std::u16string_view::npos)
      return SetPrefixedAttribute(owner.Get(), attribute, text);
    if (!IsXmlName(attribute.View())) return kDomBadArgument;
    const bool mayBeSet =
        attribute.View() != kDefaultDeclaration ||
        (!IsReservedNamespace(value) && MayDeclareDefault(owner.Get(), text.Text()));
    if (!mayBeSet) return kDomBadArgument;
    return ResultOf(owner->setAttribute(attribute.Get(), text.Get()));
  });
}

DomResult MsxmlDocument::SetPrefixedAttribute(IXMLDOMElement* element, const Bstr& name,
                                              const Variant& value) {
  std::u16string text;
  if (!WriteElementWith(name.View(), element, text)) return kDomBadArgument;
  ComPtr<IXMLDOMNamedNodeMap> attributes;
  if (element->get_attributes(attributes.Put()) != S_OK) return kDomFailed;
  Node attribute;
  if (attributes->getNamedItem(name.Get(), attribute.Put()) != S_OK) {
    const DomResult made = MakeAttribute(text, name, attribute);
    if (made != kDomOk) return made;
    const HRESULT result = attributes->setNamedItem(attribute.Get(), nullptr);
    if (result != S_OK) return ResultOf(result);
    m_namesXml = true;
  }
  return ResultOf(attribute->put_nodeValue(value.Get()));
}

// Takes an attribute out of a text, for not every version of this DOM makes attributes whose names
// are in a namespace. It changes its document with its element.
DomResult MsxmlDocument::MakeAttribute(std::u16string_view text, const Bstr& name,
                                       Node& attribute) {
  Element read;
  const DomResult result = ReadElement(text, read);
  if (result != kDomOk) return result;
  Node owner;
  ComPtr<IXMLDOMDocumentFragment> place;
  ComPtr<IXMLDOMNamedNodeMap> attributes;
  const bool isHere = read->cloneNode(VARIANT_TRUE, owner.Put()) == S_OK &&
                      m_document->createDocumentFragment(place.Put()) == S_OK &&
                      place->appendChild(owner.Get(), nullptr) == S_OK &&
                      owner->get_attributes(attributes.Put()) == S_OK;
  return isHere ? ResultOf(attributes->removeNamedItem(name.Get(), attribute.Put())) : kDomFailed;
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
