#pragma once

#include <unknwn.h>
#include <windows.h>

#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "com/ComBoundary.h"
#include "com/Module.h"
#include "platform/windows/ComPtr.h"

namespace tlk {

/// A COM enumerator over a list that does not change.
///
/// `Owned` keeps an item, references included, and `Owned::CopyTo(Item&)` gives the caller one of
/// his own.
template <typename Interface, typename Item, typename Owned>
class Enumerator final : public Interface {
 public:
  /// Makes one over `items`, from their first on.
  static HRESULT Make(std::vector<Owned> items, Interface** enumerator) {
    return MakeAt(std::make_shared<const std::vector<Owned>>(std::move(items)), 0, enumerator);
  }

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != __uuidof(Interface)) return E_NOINTERFACE;
    *object = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
  }

  STDMETHODIMP Next(ULONG count, Item* items, ULONG* fetched) override {
    if (items == nullptr || (fetched == nullptr && count != 1)) return E_POINTER;
    ULONG copied = 0;
    for (; copied < count && m_next < m_items->size(); ++copied) {
      (*m_items)[m_next++].CopyTo(items[copied]);
    }
    if (fetched != nullptr) *fetched = copied;
    return copied == count ? S_OK : S_FALSE;
  }

  STDMETHODIMP Skip(ULONG count) override {
    const std::size_t skipped = std::min<std::size_t>(count, m_items->size() - m_next);
    m_next += skipped;
    return skipped == count ? S_OK : S_FALSE;
  }

  STDMETHODIMP Reset() override {
    m_next = 0;
    return S_OK;
  }

  STDMETHODIMP Clone(Interface** enumerator) override {
    if (enumerator == nullptr) return E_POINTER;
    *enumerator = nullptr;
    return AtComBoundary([&] { return MakeAt(m_items, m_next, enumerator); });
  }

 private:
  using Items = std::shared_ptr<const std::vector<Owned>>;

  Enumerator(Items items, std::size_t next) : m_items(std::move(items)), m_next(next) {}
  ~Enumerator() = default;

  static HRESULT MakeAt(Items items, std::size_t next, Interface** enumerator) {
    *enumerator = new Enumerator(std::move(items), next);
    return S_OK;
  }

  const ModuleHold m_hold;
  std::atomic<ULONG> m_references{1};
  const Items m_items;
  std::size_t m_next;
};

}  // namespace tlk
