#pragma once

#include <msxml2.h>

#include <string>

namespace tlk {

/// Namespaces. Not every version of this DOM takes care of their declarations when a node leaves
/// the place where they were made.

/// Whether an element stands in the scope of declarations that are made above it. May throw for
/// want of memory, as those below.
[[nodiscard]] bool InheritsDeclarations(IXMLDOMNode* element);

/// Writes into a serialised element what is declared above it and not in its tag, so that every
/// name in it still means the same.
void WriteInheritedDeclarations(IXMLDOMNode* element, std::u16string& xml);

/// Declares on an element that it is in no namespace, where it would otherwise be in the default
/// one of its parent to be.
void KeepInNoNamespace(IXMLDOMNode* element, IXMLDOMNode* parent);

}  // namespace tlk
