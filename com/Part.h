#pragma once

#include <unknwn.h>

namespace tlk {

/// One interface of a larger object, which is made of such parts and lives as long as its
/// controlling unknown says: a part has no references and no identity of its own.
template <typename Interface>
class Part : public Interface {
 public:
  explicit Part(IUnknown& controller) : m_controller(controller) {}

  Part(const Part&) = delete;
  Part& operator=(const Part&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    return m_controller.QueryInterface(iid, object);
  }
  STDMETHODIMP_(ULONG) AddRef() override { return m_controller.AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return m_controller.Release(); }

 protected:
  ~Part() = default;

  [[nodiscard]] IUnknown& Controller() const { return m_controller; }

 private:
  IUnknown& m_controller;
};

}  // namespace tlk
