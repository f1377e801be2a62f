#include "xml/pugixml/PugiStore.h"

#include <mutex>
#include <utility>

namespace tlk {

void PugiStore::Clear() {
  tree.reset();
  for (pugi::xml_document* const document : {&unplaced, &kept})
    if (!document->first_child().empty()) document->reset();
  children.Forget();
  declarations.Forget();
}

PugiStorePool::PugiStorePool(const AnsiText& codePage) : m_codePage(codePage) {
  m_stores.reserve(kKept);
}

std::unique_ptr<PugiStore> PugiStorePool::Take() {
  {
    const std::lock_guard lock(m_mutex);
    if (!m_stores.empty()) {
      std::unique_ptr<PugiStore> store = std::move(m_stores.back());
      m_stores.pop_back();
      return store;
    }
  }
  return std::make_unique<PugiStore>(m_codePage);
}

void PugiStorePool::Return(std::unique_ptr<PugiStore> store) {
  Empty(*store);
  const std::lock_guard lock(m_mutex);
  if (m_stores.size() < kKept) m_stores.push_back(std::move(store));
}

void PugiStorePool::Empty(PugiStore& store) {
  store.Clear();
  store.children = {};
  for (std::string* buffer : {&store.source, &store.name, &store.value})
    if (buffer->capacity() > kKeptBytes) std::string().swap(*buffer);
  store.text.Trim(kKeptBytes);
}

}  // namespace tlk
