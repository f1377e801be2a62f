#include <TlkC2.h>
#include <gmock/gmock.h>

#include "tests/com/Holdings.h"
#include "tests/com/ModuleFile.h"

namespace tlk {
namespace {

using testing::Le;

class Outer final : public IUnknown {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
};

class ModuleTest : public testing::Test {
 protected:
  ComPtr<IClassFactory> Factory() {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(m_module.GetClassObject(CLSID_Tlkc, IID_IClassFactory, factory.PutVoid()), S_OK);
    return factory;
  }

  HRESULT CanUnload() { return m_module.Call("DllCanUnloadNow"); }

  const Apartment m_apartment;
  const LoadedModule m_module;
};

TEST_F(ModuleTest, ServesItsOneClass) {
  void* object = this;
  EXPECT_EQ(m_module.GetClassObject(LIBID_TLKC2Lib, IID_IClassFactory, &object),
            CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
  object = this;
  EXPECT_EQ(m_module.GetClassObject(CLSID_Tlkc, IID_IDispatch, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(m_module.GetClassObject(CLSID_Tlkc, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(CanUnload(), S_OK);
}

TEST_F(ModuleTest, CreatesPlainAndAggregatedControls) {
  const auto factory = Factory();
  Outer outer;
  ComPtr<IUnknown> control;
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, control.PutVoid()), S_OK);
  EXPECT_EQ(factory->CreateInstance(&outer, IID_IUnknown, control.PutVoid()), S_OK);
  EXPECT_EQ(factory->CreateInstance(&outer, IID_IDispatch, control.PutVoid()),
            CLASS_E_NOAGGREGATION);
  EXPECT_FALSE(control);
  EXPECT_EQ(factory->CreateInstance(nullptr, LIBID_TLKC2Lib, control.PutVoid()), E_NOINTERFACE);
  EXPECT_FALSE(control);
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(ModuleTest, StaysForWhatHoldsIt) {
  EXPECT_EQ(CanUnload(), S_OK);
  auto factory = Factory();
  EXPECT_EQ(CanUnload(), S_FALSE);
  ComPtr<IUnknown> control;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, control.PutVoid()), S_OK);
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  factory = nullptr;
  EXPECT_EQ(CanUnload(), S_FALSE);
  control = nullptr;
  EXPECT_EQ(CanUnload(), S_FALSE) << "locked";
  EXPECT_EQ(Factory()->LockServer(FALSE), S_OK);
  EXPECT_EQ(CanUnload(), S_OK);
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
  for (int i = 0; i < 20; ++i) LoadCreateUnload();
  const Holdings before = Holdings::Count();
  for (int i = 0; i < 1000; ++i) LoadCreateUnload();
  const Holdings after = Holdings::Count();
  SCOPED_TRACE(testing::Message() << "before: " << before << "\nafter: " << after);
  // The system itself may keep a little, but not something for every load.
  constexpr std::size_t kBlocksOfOthers = 50;
  constexpr std::size_t kBytesOfOthers = 100'000;
  EXPECT_THAT(after.heapBlocks, Le(before.heapBlocks + kBlocksOfOthers));
  EXPECT_THAT(after.heapBytes, Le(before.heapBytes + kBytesOfOthers));
  EXPECT_THAT(after.privateBytes, Le(before.privateBytes + 10 * kBytesOfOthers));
  EXPECT_EQ(after.handles, before.handles);
  EXPECT_EQ(after.windows, before.windows);
  EXPECT_EQ(after.tlsIndexes, before.tlsIndexes);
  EXPECT_EQ(after.modules, before.modules);
}

}  // namespace
}  // namespace tlk
