#pragma once

#include <windows.h>

#include <oleauto.h>

#include <utility>

#include "platform/windows/Bstr.h"

namespace tlk {

/// Owns a VARIANT and what is in it.
class Variant {
 public:
  Variant() { VariantInit(&m_value); }
  explicit Variant(Bstr text) : Variant() {
    m_value.vt = VT_BSTR;
    m_value.bstrVal = text.Detach();
  }
  explicit Variant(LONG number) : Variant() {
    m_value.vt = VT_I4;
    m_value.lVal = number;
  }
  Variant(Variant&& other) noexcept : Variant() { std::swap(m_value, other.m_value); }
  ~Variant() { VariantClear(&m_value); }

  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  Variant& operator=(Variant&& other) noexcept {
    std::swap(m_value, other.m_value);
    return *this;
  }

  /// The place for a call to put a value in; what was held is cleared before.
  [[nodiscard]] VARIANT* Put() {
    VariantClear(&m_value);
    return &m_value;
  }

  [[nodiscard]] const VARIANT& Get() const { return m_value; }
  [[nodiscard]] VARTYPE Type() const { return m_value.vt; }

  /// The text; none when the value is no text.
  [[nodiscard]] std::u16string_view Text() const {
    if (m_value.vt != VT_BSTR) return {};
    return ToUtf16({m_value.bstrVal, SysStringLen(m_value.bstrVal)});
  }

  /// Changes the value to another type, in place.
  [[nodiscard]] HRESULT ChangeTo(VARTYPE type) {
    return VariantChangeType(&m_value, &m_value, 0, type);
  }

 private:
  VARIANT m_value;
};

}  // namespace tlk
