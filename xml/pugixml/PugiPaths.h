#pragma once

#include <cstddef>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "xml/Dom.h"
#include "xml/PathNames.h"

namespace tlk {

/// Finds children by their names. Of an element that is searched again and again it remembers which
/// children it has passed, and the first one of each name among them, so that going through a long
/// list by names does not begin at its front each time.
///
/// Children may be appended at any time. Of all else that changes what it would find, it is told.
/// Belongs to one document.
class PugiChildren {
 public:
  /// The first child of `parent` that has the name and is an element in no namespace. May throw for
  /// want of memory.
  [[nodiscard]] pugi::xml_node Find(const pugi::xml_node& parent, std::string_view name);

  /// A node is about to go, with what is in it.
  void Leaves(const pugi::xml_node& node);

  /// A node has been put in front of a child, which is about to go.
  void TakesPlace(const pugi::xml_node& node, const pugi::xml_node& child);

  /// Anything may have changed.
  void Forget();

 private:
  struct First {
    pugi::xml_node child;
    bool isRepeated = false;  ///< Another one of the name has been passed behind it.
  };
  using Firsts = std::unordered_map<std::string_view, First>;

  [[nodiscard]] bool IsPlain(const pugi::xml_node& child) const;
  [[nodiscard]] Firsts::iterator Known(const pugi::xml_node& child);
  [[nodiscard]] pugi::xml_node PassUntil(std::string_view name);

  /// So many searches go by without remembering anything: messages are read with fewer.
  static constexpr int kPlainSearches = 8;

  pugi::xml_node m_parent;
  bool m_isParentInNone = true;  ///< Whether it is in no namespace if it has no prefix.
  int m_searches = 0;

  /// The last child passed; none at first.
  pugi::xml_node m_last;

  /// Among those passed. The name of each lies in the tree, in that first one.
  Firsts m_firsts;
};

/// Where a path starts: a node, and the root element above it, which may be empty.
struct PathStart {
  pugi::xml_node context;
  pugi::xml_node root;
};

/// Selects by paths, given in UTF-8, and keeps the compiled ones. Belongs to one thread at a time.
class PugiPaths {
 public:
  explicit PugiPaths(PugiChildren& children) : m_children(children) {}

  /// The first node, in document order. May throw what pugixml throws.
  [[nodiscard]] DomResult Select(const PathStart& start, std::string_view path,
                                 pugi::xpath_node& found);

 private:
  struct Compiled {
    std::string path;
    std::unique_ptr<pugi::xpath_query> query;
    BoundPath bound;
  };

  pugi::xml_node Child(const PathStart& start, std::string_view name);
  const Compiled* Compile(std::string_view path);
  static bool IsAnswered(const Compiled& compiled, const pugi::xml_node& tree);

  static constexpr std::size_t kKept = 8;
  PugiChildren& m_children;
  std::vector<Compiled> m_compiled;
  std::size_t m_oldest = 0;
  std::string m_bound;
};

}  // namespace tlk
