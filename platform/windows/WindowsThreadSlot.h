#pragma once

#include <windows.h>

#include <memory>

#include "platform/Synchronisation.h"

namespace tlk {

/// An index of the system's thread-local storage.
class WindowsThreadSlot final : public ThreadSlot {
 public:
  /// Null, with the last error set, when the system refuses.
  [[nodiscard]] static std::unique_ptr<WindowsThreadSlot> Create();

  ~WindowsThreadSlot() override { ::TlsFree(m_index); }
  WindowsThreadSlot(const WindowsThreadSlot&) = delete;
  WindowsThreadSlot& operator=(const WindowsThreadSlot&) = delete;

  [[nodiscard]] void* Get() const noexcept override { return ::TlsGetValue(m_index); }
  void Set(void* pointer) noexcept override { ::TlsSetValue(m_index, pointer); }

 private:
  explicit WindowsThreadSlot(DWORD index) : m_index(index) {}

  const DWORD m_index;
};

}  // namespace tlk
