#pragma once

#include <msxml2.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/windows/ComPtr.h"
#include "xml/msxml/SerialisedXml.h"

namespace tlk {

/// Nodes, and the namespaces of their names. Not every version of this DOM shows the declarations
/// that a text made, or takes care of them when a node leaves the place where they were made. What
/// gives a text may throw for want of memory.

/// Declarations of namespaces: their names, `xmlns` or with a prefix, and values, as written.
using Declarations = std::vector<std::pair<std::u16string, std::u16string>>;

[[nodiscard]] DOMNodeType TypeOf(IXMLDOMNode* node);

[[nodiscard]] inline bool IsAttribute(IXMLDOMNode* node) { return TypeOf(node) == NODE_ATTRIBUTE; }

/// The node as an element; none when it is no element, or none itself.
[[nodiscard]] ComPtr<IXMLDOMElement> AsElement(IXMLDOMNode* node);

/// What a node stands under; none for an attribute.
[[nodiscard]] ComPtr<IXMLDOMNode> ParentOf(IXMLDOMNode* node);

/// What holds for a node because it is declared above it.
[[nodiscard]] Declarations DeclarationsAbove(IXMLDOMNode* node);

/// Writes such declarations into a serialised element, but those that its tag has, so that every
/// name in it still means the same.
void WriteDeclarations(const Declarations& declarations, std::u16string& xml);

/// The namespace, as written, that a prefix is bound to at an element; false when it is not.
[[nodiscard]] bool FindPrefix(IXMLDOMElement* element, std::u16string_view prefix,
                              std::u16string& written);

/// The value, as written, of a declaration that an element has itself; false when it has none.
[[nodiscard]] bool FindOwnDeclaration(IXMLDOMElement* element, std::u16string_view name,
                                      std::u16string& written);

/// Whether an element may be given a default namespace declaration of this value: whether it has
/// none of another value that its name, or one in it, depends on.
[[nodiscard]] bool MayDeclareDefault(IXMLDOMElement* element, std::u16string_view value);

/// Declares on a node, if it is an element, that what has no prefix in it is in no namespace, where
/// it would otherwise be in the default one of its parent to be.
void KeepInNoNamespace(IXMLDOMNode* node, IXMLDOMNode* parent);

}  // namespace tlk
