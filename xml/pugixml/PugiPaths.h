#pragma once

#include <cstddef>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "xml/Dom.h"
#include "xml/PathNames.h"

namespace tlk {

class PugiChildren;

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
