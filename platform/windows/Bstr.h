#pragma once

#include <windows.h>

#include <oleauto.h>

#include <new>
#include <string_view>
#include <utility>

namespace tlk {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

/// A wide text of the system as one of ours, and back: the characters are the same, their types are
/// not.
[[nodiscard]] inline std::u16string_view ToUtf16(std::wstring_view text) {
  return {reinterpret_cast<const char16_t*>(text.data()), text.size()};
}
[[nodiscard]] inline std::wstring_view ToWide(std::u16string_view text) {
  return {reinterpret_cast<const wchar_t*>(text.data()), text.size()};
}

/// Owns a BSTR, or none. A text may hold zero characters.
class Bstr {
 public:
  Bstr() = default;
  /// Copies `text`; throws std::bad_alloc.
  explicit Bstr(std::wstring_view text)
      : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
    if (m_text == nullptr) throw std::bad_alloc();
  }
  explicit Bstr(std::u16string_view text) : Bstr(ToWide(text)) {}
  Bstr(Bstr&& other) noexcept : m_text(other.Detach()) {}
  ~Bstr() { SysFreeString(m_text); }

  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  Bstr& operator=(Bstr&& other) noexcept {
    std::swap(m_text, other.m_text);
    return *this;
  }

  /// Takes over a text that the caller owned, for the one that was held.
  void Attach(BSTR owned) { SysFreeString(std::exchange(m_text, owned)); }

  /// Gives the text to the caller, who owns it from here on.
  [[nodiscard]] BSTR Detach() { return std::exchange(m_text, nullptr); }

  /// The place for a call to put a text in; what was held is freed before.
  [[nodiscard]] BSTR* Put() {
    Attach(nullptr);
    return &m_text;
  }

  /// Null for none, which the system takes for an empty text.
  [[nodiscard]] BSTR Get() const { return m_text; }
  [[nodiscard]] std::u16string_view View() const { return ToUtf16({m_text, SysStringLen(m_text)}); }

 private:
  BSTR m_text = nullptr;
};

}  // namespace tlk
