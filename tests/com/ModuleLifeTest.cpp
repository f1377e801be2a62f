#include <TlkC2.h>
#include <gtest/gtest.h>

#include <array>

#include "tests/com/ModuleFile.h"
#include "tests/com/ProcessHoldings.h"

namespace tlk {
namespace {

// The system tells only when none is left.
template <typename Take, typename Free>
std::size_t UntakenIndexes(Take take, Free free) {
  std::array<DWORD, 5000> taken{};
  std::size_t count = 0;
  while (count < taken.size() && (taken[count] = take()) != TLS_OUT_OF_INDEXES) ++count;
  for (std::size_t i = 0; i < count; ++i) free(taken[i]);
  return count;
}

void LoadCreateUnload() {
  const LoadedModule module;
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(module.GetClassObject(CLSID_Tlkc, IID_IClassFactory, factory.PutVoid()), S_OK);
  ComPtr<IUnknown> control;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, control.PutVoid()), S_OK);
}

TEST(ModuleLifeTest, AThousandLoadsLeaveNothingBehind) {
  const Apartment apartment;
  std::array<std::size_t, 4> left{};
  for (const int loads : {20, 1000}) {
    const std::array<std::size_t, 4> before = left;
    for (int i = 0; i < loads; ++i) LoadCreateUnload();
    left = {UntakenIndexes(TlsAlloc, TlsFree),
            UntakenIndexes([] { return FlsAlloc(nullptr); }, FlsFree), Handles(), HeapBlocks()};
    if (loads < 1000) continue;  // The first few only warm the process up.
    EXPECT_EQ(left[0], before[0]) << "TLS indexes";
    EXPECT_EQ(left[1], before[1]) << "FLS indexes";
    // The system may keep a few itself, but not something for every load.
    EXPECT_LE(left[2], before[2] + 20) << "handles";
    EXPECT_LE(left[3], before[3] + 20) << "heap blocks";
  }
  EXPECT_EQ(GetModuleHandleW(L"TlkC2.dll"), nullptr);
}

}  // namespace
}  // namespace tlk
