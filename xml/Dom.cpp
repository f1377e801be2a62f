#include "xml/Dom.h"

namespace tlk {

DomResult DomDocument::AddElement(DomNode parent, std::string_view name,
                                  std::span<const DomAttribute> attributes, DomNode& element) {
  const DomResult result = CreateElement(name, element);
  if (!Succeeded(result) || element == nullptr) return result;
  for (const DomAttribute& attribute : attributes)
    SetAttribute(element, attribute.name, attribute.value);
  if (parent == nullptr) {
    SetDocumentElement(element);
  } else {
    AppendChild(parent, element);
  }
  return result;
}

}  // namespace tlk
