#include "tests/com/LoadedModule.h"
#include "tests/com/ProcessHoldings.h"

namespace tlk {
namespace {

class ModuleTest : public testing::Test {
 protected:
  HRESULT CanUnload() { return m_module.Call("DllCanUnloadNow"); }

  const Apartment m_apartment;
  const LoadedModule m_module;
};

TEST_F(ModuleTest, ServesOneClassPlainAndAggregated) {
  ComPtr<IUnknown> object;
  void** const place = object.PutVoid();
  const auto factory = m_module.Factory();
  EXPECT_EQ(m_module.GetClassObject(IID_ITlkc, IID_IUnknown, place), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(m_module.GetClassObject(CLSID_Tlkc, IID_IDispatch, place), E_NOINTERFACE);
  EXPECT_EQ(m_module.GetClassObject(CLSID_Tlkc, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(factory->CreateInstance(nullptr, CLSID_Tlkc, place), E_NOINTERFACE);
  EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IDispatch, place), CLASS_E_NOAGGREGATION);
  EXPECT_FALSE(object);
  EXPECT_TRUE(m_module.Create() && m_module.Create(factory.Get()));
}

TEST_F(ModuleTest, StaysForWhatHoldsIt) {
  EXPECT_EQ(CanUnload(), S_OK);
  auto factory = m_module.Factory();
  EXPECT_EQ(CanUnload(), S_FALSE) << "a class object";
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  factory = nullptr;
  EXPECT_EQ(CanUnload(), S_FALSE) << "a lock";
  auto control = m_module.Create();
  EXPECT_EQ(m_module.Factory()->LockServer(FALSE), S_OK);
  EXPECT_EQ(CanUnload(), S_FALSE) << "a control";
  control = nullptr;
  EXPECT_EQ(CanUnload(), S_OK);
}

TEST(ModuleLifeTest, AThousandLoadsLeaveNothingBehind) {
  const Apartment apartment;
  ProcessHoldings before;
  for (int loads = 0; loads < 1000; ++loads) {
    if (loads == 20) before = HoldingsNow();  // The first few only warm the process up.
    const LoadedModule module;
    EXPECT_TRUE(module.Create());
  }
  ExpectNothingLeftSince(before);
  EXPECT_EQ(GetModuleHandleW(L"TlkC2.dll"), nullptr);
}

}  // namespace
}  // namespace tlk
