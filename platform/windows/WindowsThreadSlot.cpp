#include "platform/windows/WindowsThreadSlot.h"

namespace tlk {

std::unique_ptr<WindowsThreadSlot> WindowsThreadSlot::Create() {
  const DWORD index = ::TlsAlloc();
  if (index == TLS_OUT_OF_INDEXES) return nullptr;
  return std::unique_ptr<WindowsThreadSlot>(new WindowsThreadSlot(index));
}

}  // namespace tlk
