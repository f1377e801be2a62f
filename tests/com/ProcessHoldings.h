#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <cstddef>

namespace tlk {

/// What a process holds of the system, as far as it can be counted.
struct ProcessHoldings {
  std::size_t freeTlsIndexes = 0;
  std::size_t freeFlsIndexes = 0;
  std::size_t handles = 0;
  std::size_t heapBlocks = 0;
};

// The system tells only when none is left.
template <typename Take, typename Free>
std::size_t CountFreeIndexes(Take take, Free free) {
  std::array<DWORD, 5000> taken{};
  std::size_t count = 0;
  while (count < taken.size() && (taken[count] = take()) != TLS_OUT_OF_INDEXES) ++count;
  for (std::size_t i = 0; i < count; ++i) free(taken[i]);
  return count;
}

inline ProcessHoldings HoldingsNow() {
  ProcessHoldings now{CountFreeIndexes(TlsAlloc, TlsFree),
                      CountFreeIndexes([] { return FlsAlloc(nullptr); }, FlsFree)};
  // One by one: Wine has no number of them.
  DWORD ignored = 0;
  for (INT_PTR value = 4; value < 0x10000; value += 4)
    now.handles += GetHandleInformation(reinterpret_cast<HANDLE>(value), &ignored) != FALSE;
  std::array<HANDLE, 64> heaps{};
  const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
  for (DWORD i = 0; i < count && i < heaps.size(); ++i) {
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heaps[i], &entry))
      now.heapBlocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
  }
  return now;
}

/// For what has been done about a thousand times since: the system may keep a few things itself,
/// but not one for every time.
inline void ExpectNothingLeftSince(const ProcessHoldings& before) {
  const ProcessHoldings now = HoldingsNow();
  EXPECT_EQ(now.freeTlsIndexes, before.freeTlsIndexes);
  EXPECT_EQ(now.freeFlsIndexes, before.freeFlsIndexes);
  EXPECT_LE(now.handles, before.handles + 10);
  EXPECT_LE(now.heapBlocks, before.heapBlocks + 20);
}

}  // namespace tlk
