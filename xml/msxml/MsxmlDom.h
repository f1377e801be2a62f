#pragma once

#include <memory>

#include "xml/Dom.h"

namespace tlk {

class AnsiText;

/// Documents held by MSXML 3.0.
///
/// A thread that makes a document has initialised COM, and uses it and ends it before it lets COM
/// go. `text` outlives the factory.
class MsxmlDomFactory : public DomFactory {
 public:
  explicit MsxmlDomFactory(const AnsiText& text) : m_text(text) {}

  [[nodiscard]] DomResult NewDocument(std::unique_ptr<DomDocument>& document) override;

 private:
  const AnsiText& m_text;
};

}  // namespace tlk
