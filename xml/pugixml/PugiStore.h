#pragma once

#include <cstddef>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "platform/Fork.h"
#include "xml/pugixml/PugiNamespaces.h"
#include "xml/pugixml/PugiPaths.h"
#include "xml/pugixml/PugiText.h"

namespace tlk {

class AnsiText;

/// What a document is held in. It belongs to one document at a time and is reused by the next.
struct PugiStore {
  explicit PugiStore(const AnsiText& codePage) : text(codePage) {}

  /// Lets go of all nodes.
  void Clear();

  std::string source;  ///< The text that was loaded; the tree points into it, so it must stay.
  pugi::xml_document tree;
  pugi::xml_document unplaced;  ///< The elements that stand nowhere yet, side by side.
  pugi::xml_document kept;  ///< What was taken out with a node in it that somebody goes on with.
  PugiChildren children;
  PugiPaths paths{children};
  DeclarationKeeper declarations;
  PugiText text;
  std::string name;   ///< Scratch space, in UTF-8: a name or path,
  std::string value;  ///< a value, or a serialised node.
};

/// Keeps a few stores for reuse. Safe to call from any thread.
class PugiStorePool {
 public:
  explicit PugiStorePool(const AnsiText& codePage);

  /// A store whose tree is empty.
  [[nodiscard]] std::unique_ptr<PugiStore> Take();

  void Return(std::unique_ptr<PugiStore> store);

 private:
  static constexpr std::size_t kKept = 4;
  /// How large a buffer may be that is kept.
  static constexpr std::size_t kKeptBytes = 65'536;

  static void Empty(PugiStore& store);

  const AnsiText& m_codePage;
  ForkMutex m_mutex;
  std::vector<std::unique_ptr<PugiStore>> m_stores;
};

}  // namespace tlk
