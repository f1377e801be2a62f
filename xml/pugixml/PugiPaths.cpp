#include "xml/pugixml/PugiPaths.h"

#include <algorithm>
#include <utility>

#include "xml/PathNames.h"
#include "xml/pugixml/PugiChildren.h"
#include "xml/pugixml/PugiNode.h"
#include "xml/pugixml/PugiText.h"

namespace tlk {
namespace {

constexpr std::string_view kAnywhere = "//";

bool IsNamed(const pugi::xml_node& node, std::string_view name) {
  const char* const own = node.name();
  return *own == name.front() && own == name && IsPlainElement(node);
}

// The node behind `node` in document order, within the tree under `root`.
pugi::xml_node Next(pugi::xml_node node, const pugi::xml_node& root) {
  if (const pugi::xml_node child = node.first_child(); !IsNone(child)) return child;
  for (; !IsSame(node, root); node = node.parent())
    if (const pugi::xml_node sibling = node.next_sibling(); !IsNone(sibling)) return sibling;
  return {};
}

pugi::xml_node Anywhere(const pugi::xml_node& root, std::string_view name) {
  for (pugi::xml_node node = root; !IsNone(node); node = Next(node, root))
    if (IsNamed(node, name)) return node;
  return {};
}

// The topmost node above or at `node`, or the document when that is the node.
pugi::xml_node Top(pugi::xml_node node) {
  while (node.parent() && node.parent().type() != pugi::node_document) node = node.parent();
  return node;
}

bool IsUnder(const pugi::xpath_node& found, const pugi::xml_node& top) {
  const pugi::xml_node own = Top(found.node() ? found.node() : found.parent());
  return own == top || own.type() != pugi::node_element;
}

pugi::xpath_node FirstUnder(pugi::xpath_node_set found, const PathStart& start) {
  const bool fromTop = start.context.type() == pugi::node_document;
  const pugi::xml_node top = fromTop ? start.root : Top(start.context);
  found.sort();
  const auto* const first = std::find_if(
      found.begin(), found.end(), [&](const pugi::xpath_node& node) { return IsUnder(node, top); });
  return first == found.end() ? pugi::xpath_node() : *first;
}

}  // namespace

DomResult PugiPaths::Select(const PathStart& start, std::string_view path, bool strays,
                            pugi::xpath_node& found) {
  if (path.size() > kMaxPathLength) return kDomFailed;
  // Nearly every path is nothing but a plain name, behind "//" or not, and needs no XPath.
  if (IsPlainName(path)) {
    found = Child(start, path);
  } else if (path.starts_with(kAnywhere) && IsPlainName(path.substr(kAnywhere.size()))) {
    found = Anywhere(start.root, path.substr(kAnywhere.size()));
  } else {
    const pugi::xpath_query* const query = Compile(path);
    if (query == nullptr || query->return_type() != pugi::xpath_type_node_set) return kDomFailed;
    found = strays ? FirstUnder(query->evaluate_node_set(start.context), start)
                   : query->evaluate_node(start.context);
  }
  return found ? kDomOk : kDomNothing;
}

pugi::xml_node PugiPaths::Child(const PathStart& start, std::string_view name) {
  if (start.context.type() != pugi::node_document) return m_children.Find(start.context, name);
  return IsNamed(start.root, name) ? start.root : pugi::xml_node();
}

const pugi::xpath_query* PugiPaths::Compile(std::string_view path) {
  const auto known = std::find_if(m_compiled.begin(), m_compiled.end(),
                                  [path](const Compiled& kept) { return kept.path == path; });
  if (known != m_compiled.end()) return known->query.get();
  if (!BindPathNames(path, m_bound)) return nullptr;

  Compiled compiled{std::string(path), std::make_unique<pugi::xpath_query>(m_bound.c_str())};
  if (m_compiled.size() < kKept) return m_compiled.emplace_back(std::move(compiled)).query.get();
  Compiled& oldest = m_compiled[m_oldest++ % kKept];
  oldest = std::move(compiled);
  return oldest.query.get();
}

}  // namespace tlk
