#pragma once

#include <memory>

#include "xml/Dom.h"

namespace tlk {

class AnsiText;
class PugiStorePool;

/// Documents held by pugixml.
///
/// The memory of documents that are gone is kept for those to come, except that of the large ones.
/// The factory outlives its documents, and `text` the factory.
class PugiDomFactory : public DomFactory {
 public:
  explicit PugiDomFactory(const AnsiText& text);
  ~PugiDomFactory() override;

  PugiDomFactory(const PugiDomFactory&) = delete;
  PugiDomFactory& operator=(const PugiDomFactory&) = delete;

  [[nodiscard]] DomResult NewDocument(std::unique_ptr<DomDocument>& document) override;

 private:
  std::unique_ptr<PugiStorePool> m_pool;
};

}  // namespace tlk
