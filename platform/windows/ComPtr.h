#pragma once

#include <unknwn.h>

#include <cstddef>
#include <utility>

namespace tlk {

/// Owns one reference to a component, or none.
template <typename Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}
  /// Takes a reference of its own.
  explicit ComPtr(Interface* shared) : m_interface(shared) {
    if (m_interface != nullptr) m_interface->AddRef();
  }
  ComPtr(const ComPtr& other) : ComPtr(other.m_interface) {}
  ComPtr(ComPtr&& other) noexcept : m_interface(other.Detach()) {}
  ~ComPtr() { Attach(nullptr); }

  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(m_interface, other.m_interface);
    return *this;
  }

  /// Takes over a reference that the caller owned, for the one that was held.
  void Attach(Interface* owned) {
    Interface* const released = std::exchange(m_interface, owned);
    if (released != nullptr) released->Release();
  }

  /// Gives the reference to the caller, who owns it from here on.
  [[nodiscard]] Interface* Detach() { return std::exchange(m_interface, nullptr); }

  /// The place for a call to put a reference in; what was held is released before.
  [[nodiscard]] Interface** Put() {
    Attach(nullptr);
    return &m_interface;
  }
  [[nodiscard]] void** PutVoid() { return reinterpret_cast<void**>(Put()); }

  /// Asks for another interface. `other` is none after a failure.
  template <typename Other>
  [[nodiscard]] HRESULT QueryTo(ComPtr<Other>& other, REFIID id = __uuidof(Other)) const {
    if (m_interface == nullptr) {
      other = nullptr;
      return E_POINTER;
    }
    return m_interface->QueryInterface(id, other.PutVoid());
  }

  [[nodiscard]] Interface* Get() const { return m_interface; }
  Interface* operator->() const { return m_interface; }
  explicit operator bool() const { return m_interface != nullptr; }

 private:
  Interface* m_interface = nullptr;
};

}  // namespace tlk
