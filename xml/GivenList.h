#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "xml/BuilderFailures.h"
#include "xml/TLK_XMLParser.h"

namespace tlk {

/// A list that an operation is given as a document, read entry by entry. Until it is opened it is
/// not given, and has entries without end that say nothing.
class GivenList {
 public:
  /// Reads the document and goes in front of the first entry of the list that `path` selects. The
  /// failure when there is no list or no entry in it, else null. A document that cannot be read has
  /// no list; its reader reports that.
  [[nodiscard]] const Failure* Open(const Codec& codec, std::string_view text,
                                    std::string_view path, const GivenListFailures& failures);

  /// Steps to the next entry; false behind the last. The one after it has been read by then, so
  /// that an entry may be moved away.
  [[nodiscard]] bool Step();

  /// The entry stepped to.
  [[nodiscard]] DomNode Entry() const { return m_entry; }

  /// Its name without prefix; empty when it is no element.
  void ReadName(std::string& name) const;

  /// Its text; empty when that is white space alone, which not every DOM keeps.
  void ReadText(std::string& text) const;

 private:
  std::optional<TLK_XMLParser> m_parser;
  DomNode m_entry = nullptr;
  DomNode m_next = nullptr;
};

}  // namespace tlk
