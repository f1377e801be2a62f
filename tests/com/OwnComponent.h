#pragma once

#include <gtest/gtest.h>
#include <unknwn.h>

namespace tlk {

/// A component on the stack of a test: nobody may hold it in the end.
template <typename... Interfaces>
class OwnComponent : public Interfaces... {
 public:
  ~OwnComponent() { EXPECT_EQ(m_references, 1U); }

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    *object = nullptr;
    ((iid == __uuidof(Interfaces) ? void(*object = static_cast<Interfaces*>(this)) : void()), ...);
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
  STDMETHODIMP_(ULONG) Release() override { return --m_references; }

 private:
  ULONG m_references = 1;
};

}  // namespace tlk
