#include "tests/com/Holdings.h"

#include <windows.h>

#include <psapi.h>

#include <array>
#include <ostream>
#include <vector>

namespace tlk {
namespace {

void CountHeap(HANDLE heap, Holdings& holdings) {
  HeapLock(heap);
  PROCESS_HEAP_ENTRY entry{};
  while (HeapWalk(heap, &entry)) {
    if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) == 0) continue;
    ++holdings.heapBlocks;
    holdings.heapBytes += entry.cbData;
  }
  HeapUnlock(heap);
}

void CountHeaps(Holdings& holdings) {
  std::array<HANDLE, 64> heaps{};
  const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
  for (DWORD i = 0; i < count && i < heaps.size(); ++i) CountHeap(heaps[i], holdings);
}

// The system does not tell how many are taken, only when none is left.
std::size_t CountTlsIndexes() {
  constexpr std::size_t kAll = TLS_MINIMUM_AVAILABLE + 1024;
  std::array<DWORD, kAll> taken{};
  std::size_t left = 0;
  while (left < kAll && (taken[left] = TlsAlloc()) != TLS_OUT_OF_INDEXES) ++left;
  for (std::size_t i = 0; i < left; ++i) TlsFree(taken[i]);
  return kAll - left;
}

}  // namespace

Holdings Holdings::Count() {
  Holdings holdings;
  holdings.tlsIndexes = CountTlsIndexes();
  PROCESS_MEMORY_COUNTERS_EX memory{};
  GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&memory),
                       sizeof memory);
  holdings.privateBytes = memory.PrivateUsage;
  DWORD handles = 0;
  GetProcessHandleCount(GetCurrentProcess(), &handles);
  holdings.handles = handles;
  holdings.windows = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
  std::array<HMODULE, 1024> modules{};
  DWORD bytes = 0;
  EnumProcessModules(GetCurrentProcess(), modules.data(), sizeof modules, &bytes);
  holdings.modules = bytes / sizeof(HMODULE);
  CountHeaps(holdings);
  return holdings;
}

std::ostream& operator<<(std::ostream& out, const Holdings& holdings) {
  return out << holdings.heapBlocks << " heap blocks of " << holdings.heapBytes << " bytes, "
             << holdings.privateBytes << " private bytes, " << holdings.handles << " handles, "
             << holdings.windows << " windows, " << holdings.tlsIndexes << " TLS indexes, "
             << holdings.modules << " modules";
}

}  // namespace tlk
