#include <TlkC2.h>
#include <gtest/gtest.h>

#include "tests/com/ModuleFile.h"

namespace tlk {
namespace {

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

TEST_F(ModuleTest, ServesOneClassPlainAndAggregated) {
  ComPtr<IUnknown> object;
  EXPECT_EQ(m_module.GetClassObject(IID_ITlkc, IID_IUnknown, object.PutVoid()),
            CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(m_module.GetClassObject(CLSID_Tlkc, IID_IDispatch, object.PutVoid()), E_NOINTERFACE);
  EXPECT_EQ(m_module.GetClassObject(CLSID_Tlkc, IID_IUnknown, nullptr), E_POINTER);

  const auto factory = Factory();
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(factory->CreateInstance(nullptr, CLSID_Tlkc, object.PutVoid()), E_NOINTERFACE);
  EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IDispatch, object.PutVoid()),
            CLASS_E_NOAGGREGATION);
  EXPECT_FALSE(object);
  for (IUnknown* outer : {static_cast<IUnknown*>(nullptr), static_cast<IUnknown*>(factory.Get())}) {
    EXPECT_EQ(factory->CreateInstance(outer, IID_IUnknown, object.PutVoid()), S_OK);
  }
}

TEST_F(ModuleTest, StaysForWhatHoldsIt) {
  EXPECT_EQ(CanUnload(), S_OK);
  auto factory = Factory();
  EXPECT_EQ(CanUnload(), S_FALSE) << "a class object";
  ComPtr<IUnknown> control;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, control.PutVoid()), S_OK);
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  factory = nullptr;
  EXPECT_EQ(CanUnload(), S_FALSE) << "a control and a lock";
  control = nullptr;
  EXPECT_EQ(CanUnload(), S_FALSE) << "a lock";
  EXPECT_EQ(Factory()->LockServer(FALSE), S_OK);
  EXPECT_EQ(CanUnload(), S_OK);
}

}  // namespace
}  // namespace tlk
