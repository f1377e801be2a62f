#include "xml/Dom.h"

namespace tlk {

DomResult DomDocument::AddElement(DomNode parent, std::string_view name,
                                  std::span<const DomAttribute> attributes, DomNode& element) {
  const DomResult result = CreateElement(name, element);
  if (!Succeeded(result) || element == nullptr) return result;
  bool lacksMemory = false;
  const auto note = [&](DomResult step) { lacksMemory = lacksMemory || step == kDomOutOfMemory; };
  for (const DomAttribute& attribute : attributes)
    note(SetAttribute(element, attribute.name, attribute.value));
  note(parent == nullptr ? SetDocumentElement(element) : AppendChild(parent, element));
  return lacksMemory ? kDomOutOfMemory : result;
}

}  // namespace tlk
