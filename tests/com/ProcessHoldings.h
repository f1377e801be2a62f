#pragma once

#include <windows.h>

#include <array>
#include <cstddef>

namespace tlk {

inline std::size_t HeapBlocks() {
  std::array<HANDLE, 64> heaps{};
  const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
  std::size_t blocks = 0;
  for (DWORD i = 0; i < count && i < heaps.size(); ++i) {
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heaps[i], &entry)) blocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
  }
  return blocks;
}

/// Counted one by one: Wine has no number of them.
inline std::size_t Handles() {
  std::size_t handles = 0;
  DWORD ignored = 0;
  for (INT_PTR value = 4; value < 0x10000; value += 4) {
    handles += GetHandleInformation(reinterpret_cast<HANDLE>(value), &ignored) != FALSE;
  }
  return handles;
}

}  // namespace tlk
