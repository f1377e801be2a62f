#include "xml/TLK_XMLBuilder.h"

namespace tlk {

int TLK_XMLBuilder::AddAttributes(std::string_view /*attributes*/) { return -1; }
int TLK_XMLBuilder::AddAttributesAtPaths(std::string_view /*attributes*/,
                                         std::string_view /*paths*/) {
  return -1;
}
int TLK_XMLBuilder::DeleteAttributes(std::string_view /*attributes*/) { return -1; }
int TLK_XMLBuilder::DeleteAttributesAtPaths(std::string_view /*paths*/) { return -1; }
int TLK_XMLBuilder::UpdateAttributes(std::string_view /*attributes*/) { return -1; }
int TLK_XMLBuilder::UpdateAttributesAtPaths(std::string_view /*attributes*/,
                                            std::string_view /*paths*/) {
  return -1;
}

}  // namespace tlk
