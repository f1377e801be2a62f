#include "xml/NodeAccess.h"

#include <cstddef>

namespace tlk {

DomResult SelectFirst(DomDocument* document, std::string_view path, DomNode& node) {
  node = nullptr;
  if (document == nullptr) return kDomNothing;
  document->SelectXPath();
  return document->SelectNode(nullptr, path, node);
}

DomNode SelectElement(const Codec& codec, const char* source, std::int32_t line,
                      DomDocument* document, std::string_view path) {
  DomNode node = nullptr;
  if (SelectFirst(document, path, node) != kDomOk) return nullptr;
  DomNode element = nullptr;
  const DomResult result = document->AsElement(node, element);
  if (Succeeded(result) && element != nullptr) return element;
  const Failure failure = {"Failed to get element from node.\n",
                           "Failed to get element from node. Error code: %x\n",
                           FailureValues::kCode, line};
  ReportFailure(codec, source, failure, result);
  return nullptr;
}

void EndAtZero(std::string& text) {
  const std::size_t end = text.find('\0');
  if (end != std::string::npos) text.resize(end);
}

}  // namespace tlk
