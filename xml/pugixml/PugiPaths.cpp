#include "xml/pugixml/PugiPaths.h"

#include <algorithm>
#include <clocale>
#include <cstring>
#include <utility>

#include "platform/Ascii.h"
#include "xml/pugixml/PugiNamespaces.h"
#include "xml/pugixml/PugiNode.h"
#include "xml/pugixml/PugiText.h"

namespace tlk {
namespace {

constexpr std::string_view kAnywhere = "//";

bool IsNamed(const pugi::xml_node& node, std::string_view name) {
  const char* const own = node.name();
  return *own == name.front() && own == name && node.type() == pugi::node_element;
}

// The first element of a name that is in no namespace, found without looking upwards from each of
// the others: there may be many, in the scope of many declarations.
pugi::xml_node AnywhereInNone(const pugi::xml_node& root, std::string_view name) {
  // The elements around the node that turn a default namespace on or off again.
  std::vector<pugi::xml_node> changes;
  const auto isInNone = [&changes] { return changes.size() % 2 == 0; };
  const auto leave = [&changes](const pugi::xml_node& node) {
    if (!changes.empty() && IsSame(changes.back(), node)) changes.pop_back();
  };
  for (pugi::xml_node node = root; !IsNone(node); node = NextInTree(node, root, leave)) {
    if (IsInNoNamespace(node, isInNone()) != isInNone()) changes.push_back(node);
    if (isInNone() && IsNamed(node, name)) return node;
  }
  return {};
}

pugi::xml_node Anywhere(const pugi::xml_node& root, std::string_view name) {
  pugi::xml_node node = root;
  while (!IsNone(node) && !IsNamed(node, name)) node = NextInTree(node, root);
  return IsNone(node) || IsInNoNamespace(node) ? node : AnywhereInNone(root, name);
}

// Whether a tree has nothing but ASCII in its names and values.
bool IsAllAscii(const pugi::xml_node& tree) {
  for (pugi::xml_node node = tree; !IsNone(node); node = NextInTree(node, tree)) {
    if (!IsAscii(node.name()) || !IsAscii(node.value())) return false;
    for (const pugi::xml_attribute& attribute : node.attributes())
      if (!IsAscii(attribute.name()) || !IsAscii(attribute.value())) return false;
  }
  return true;
}

// While it lives, the numbers of this thread have a dot, whatever the host's locale has: pugixml
// reads them as the C library does.
class DotInNumbers {
 public:
  DotInNumbers() : m_before(uselocale(Plain())) {}
  ~DotInNumbers() { uselocale(m_before); }

  DotInNumbers(const DotInNumbers&) = delete;
  DotInNumbers& operator=(const DotInNumbers&) = delete;

 private:
  static locale_t Plain() {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    return plain;
  }

  locale_t m_before;
};

}  // namespace

// pugixml finds nodes of any kind by name.
bool PugiChildren::IsPlain(const pugi::xml_node& child) const {
  return child.type() == pugi::node_element && IsInNoNamespace(child, m_isParentInNone);
}

pugi::xml_node PugiChildren::Find(const pugi::xml_node& parent, std::string_view name) {
  if (!IsSame(parent, m_parent)) {
    Forget();
    m_parent = parent;
    m_isParentInNone = IsInNoNamespace(parent);
  }
  if (m_searches < kPlainSearches) {
    ++m_searches;
    pugi::xml_node child = parent.first_child();
    while (!IsNone(child) && !(child.name() == name && IsPlain(child)))
      child = child.next_sibling();
    return child;
  }
  const auto known = m_firsts.find(name);
  return known != m_firsts.end() ? known->second.child : PassUntil(name);
}

// Goes on, behind the children that are known, to the first one of that name; remembers all on the
// way.
pugi::xml_node PugiChildren::PassUntil(std::string_view name) {
  pugi::xml_node child = IsNone(m_last) ? m_parent.first_child() : m_last.next_sibling();
  for (; !IsNone(child); child = child.next_sibling()) {
    const bool isPlain = IsPlain(child);
    if (isPlain) {
      const auto [known, isFirst] = m_firsts.try_emplace(child.name(), First{child});
      if (!isFirst) known->second.isRepeated = true;
    }
    m_last = child;
    if (isPlain && child.name() == name) return child;
  }
  return {};
}

void PugiChildren::Leaves(const pugi::xml_node& node) {
  if (!IsSame(node.parent(), m_parent)) {
    if (IsAtOrUnder(m_parent, node)) Forget();
    return;
  }
  if (IsSame(node, m_last)) m_last = node.previous_sibling();
  const auto known = Known(node);
  if (known == m_firsts.end()) return;
  if (known->second.isRepeated) {
    Forget();
  } else {
    m_firsts.erase(known);
  }
}

void PugiChildren::TakesPlace(const pugi::xml_node& node, const pugi::xml_node& child) {
  if (IsNone(m_last) || !IsSame(child.parent(), m_parent)) return;
  const auto known = Known(child);
  const bool isLikeIt = IsPlain(node) && std::strcmp(node.name(), child.name()) == 0;
  if (known == m_firsts.end() || !isLikeIt) {
    Forget();
    return;
  }
  auto entry = m_firsts.extract(known);
  entry.key() = node.name();
  entry.mapped().child = node;
  m_firsts.insert(std::move(entry));
}

void PugiChildren::Forget() {
  m_parent = {};
  m_searches = 0;
  m_last = {};
  m_firsts.clear();
}

// What is remembered of a child that is the first of its name.
PugiChildren::Firsts::iterator PugiChildren::Known(const pugi::xml_node& child) {
  const auto known = m_firsts.find(child.name());
  const bool isIt = known != m_firsts.end() && IsSame(known->second.child, child);
  return isIt ? known : m_firsts.end();
}

DomResult PugiPaths::Select(const PathStart& start, std::string_view path,
                            pugi::xpath_node& found) {
  if (path.size() > kMaxPathLength) return kDomFailed;
  // Nearly every path is nothing but a plain name, behind "//" or not, and needs no XPath.
  if (IsPlainName(path)) {
    found = Child(start, path);
  } else if (path.starts_with(kAnywhere) && IsPlainName(path.substr(kAnywhere.size()))) {
    found = Anywhere(start.root, path.substr(kAnywhere.size()));
  } else {
    const DotInNumbers dot;
    const Compiled* const compiled = Compile(path);
    if (compiled == nullptr || compiled->query->return_type() != pugi::xpath_type_node_set)
      return kDomFailed;
    if (!IsAnswered(*compiled, start.context.root())) return kDomNotImplemented;
    found = compiled->query->evaluate_node(start.context);
  }
  return found ? kDomOk : kDomNothing;
}

pugi::xml_node PugiPaths::Child(const PathStart& start, std::string_view name) {
  if (start.context.type() != pugi::node_document) return m_children.Find(start.context, name);
  const bool isIt = IsNamed(start.root, name) && IsInNoNamespace(start.root);
  return isIt ? start.root : pugi::xml_node();
}

bool PugiPaths::IsAnswered(const Compiled& compiled, const pugi::xml_node& tree) {
  return compiled.bound == BoundPath::kRight ||
         (compiled.bound == BoundPath::kRightInAscii && IsAllAscii(tree));
}

const PugiPaths::Compiled* PugiPaths::Compile(std::string_view path) {
  const auto known = std::find_if(m_compiled.begin(), m_compiled.end(),
                                  [path](const Compiled& kept) { return kept.path == path; });
  if (known != m_compiled.end()) return &*known;
  const BoundPath bound = BindPath(path, m_bound);
  if (bound >= BoundPath::kMalformed) return nullptr;

  Compiled compiled{std::string(path), std::make_unique<pugi::xpath_query>(m_bound.c_str()), bound};
  if (m_compiled.size() < kKept) return &m_compiled.emplace_back(std::move(compiled));
  Compiled& oldest = m_compiled[m_oldest++ % kKept];
  oldest = std::move(compiled);
  return &oldest;
}

}  // namespace tlk
