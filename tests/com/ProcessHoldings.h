#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstddef>
#include <vector>

namespace tlk {

// The system tells only when none is left.
template <typename Take, typename Free>
std::size_t CountFreeIndexes(Take take, Free free) {
  std::vector<DWORD> taken;
  for (DWORD index = 0; (index = take()) != TLS_OUT_OF_INDEXES;) taken.push_back(index);
  for (const DWORD index : taken) free(index);
  return taken.size();
}

/// What a process holds of the system, as far as it can be counted.
struct ProcessHoldings {
  std::size_t freeTlsIndexes = CountFreeIndexes(TlsAlloc, TlsFree);
  std::size_t freeFlsIndexes = CountFreeIndexes([] { return FlsAlloc(nullptr); }, FlsFree);
  std::size_t handles = 0;
  std::size_t heapBlocks = 0;

  ProcessHoldings() {
    // One by one: Wine has no number of them.
    DWORD ignored = 0;
    for (INT_PTR value = 4; value < 0x10000; value += 4)
      handles += GetHandleInformation(reinterpret_cast<HANDLE>(value), &ignored) != FALSE;
    HANDLE heaps[64];
    for (DWORD i = GetProcessHeaps(64, heaps); i-- > 0;) {
      PROCESS_HEAP_ENTRY entry{};
      while (HeapWalk(heaps[i], &entry))
        heapBlocks += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
    }
  }
};

/// For what is done a thousand times: the system may keep a few things itself, but not one for
/// every time.
template <typename Act>
void ExpectToLeaveNothing(Act act) {
  for (int times = 0; times < 60; ++times) act(times);  // These only warm the process up.
  const ProcessHoldings before;
  for (int times = 60; times < 1000; ++times) ASSERT_NO_FATAL_FAILURE(act(times));
  const ProcessHoldings now;
  EXPECT_EQ(now.freeTlsIndexes, before.freeTlsIndexes);
  EXPECT_EQ(now.freeFlsIndexes, before.freeFlsIndexes);
  EXPECT_LE(now.handles, before.handles + 10);
  EXPECT_LE(now.heapBlocks, before.heapBlocks + 20);
}

}  // namespace tlk
