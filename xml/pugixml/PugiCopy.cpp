#include "xml/pugixml/PugiCopy.h"

#include <cstring>

#include "xml/pugixml/PugiNode.h"

namespace tlk {
namespace {

template <typename Part>
bool HasSameTexts(const Part& one, const Part& other) {
  return std::strcmp(one.name(), other.name()) == 0 && std::strcmp(one.value(), other.value()) == 0;
}

bool HasSameAttributes(const pugi::xml_node& one, const pugi::xml_node& other) {
  pugi::xml_attribute copy = other.first_attribute();
  for (const pugi::xml_attribute& attribute : one.attributes()) {
    if (IsNone(copy) || !HasSameTexts(attribute, copy)) return false;
    copy = copy.next_attribute();
  }
  return true;
}

bool IsSameAlone(const pugi::xml_node& one, const pugi::xml_node& other) {
  return one.type() == other.type() && HasSameTexts(one, other) && HasSameAttributes(one, other);
}

}  // namespace

// Both trees are walked side by side, and not by recursion: they may be deep.
bool IsWholeCopy(const pugi::xml_node& node, const pugi::xml_node& copy) {
  pugi::xml_node here = node;
  pugi::xml_node there = copy;
  while (IsSameAlone(here, there)) {
    if (!IsNone(here.first_child())) {
      here = here.first_child();
      there = there.first_child();
      continue;
    }
    while (!IsSame(here, node) && IsNone(here.next_sibling())) {
      here = here.parent();
      there = there.parent();
    }
    if (IsSame(here, node)) return true;
    here = here.next_sibling();
    there = there.next_sibling();
  }
  return false;
}

}  // namespace tlk
