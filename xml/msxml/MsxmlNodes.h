#pragma once

#include <msxml2.h>

#include "platform/windows/ComPtr.h"
#include "xml/Dom.h"

namespace tlk {

/// Handles of an MSXML tree: a node's is its address, which its document holds a reference to.
[[nodiscard]] inline IXMLDOMNode* NodeOf(DomNode handle) {
  return reinterpret_cast<IXMLDOMNode*>(handle);
}

[[nodiscard]] inline DomResult ResultOf(HRESULT result) { return static_cast<DomResult>(result); }

/// The node as an element; none when it is no element, or none itself.
[[nodiscard]] ComPtr<IXMLDOMElement> AsElement(IXMLDOMNode* node);

/// The element behind a handle; none when it is no element.
[[nodiscard]] inline ComPtr<IXMLDOMElement> ElementOf(DomNode handle) {
  return AsElement(NodeOf(handle));
}

[[nodiscard]] DOMNodeType TypeOf(IXMLDOMNode* node);

[[nodiscard]] inline bool IsAttribute(IXMLDOMNode* node) { return TypeOf(node) == NODE_ATTRIBUTE; }

/// Whether a node is a text, and no CDATA section, of white space alone.
[[nodiscard]] bool IsBlankText(IXMLDOMNode* node);

/// What a node stands under; none for an attribute.
[[nodiscard]] ComPtr<IXMLDOMNode> ParentOf(IXMLDOMNode* node);

/// Makes an empty document.
[[nodiscard]] DomResult MakeDocument(ComPtr<IXMLDOMDocument2>& document);

}  // namespace tlk
