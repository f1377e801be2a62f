#include "tests/com/LoadedModule.h"

namespace tlk {

TEST(ModuleTest, ServesOneClassAndStaysForWhatHoldsIt) {
  const LoadedModule module;
  auto factory = module.Factory();
  ComPtr<IUnknown> object;
  void** const place = object.PutVoid();
  const std::pair<HRESULT, HRESULT> calls[] = {
      {module.GetClassObject(IID_ITlkc, IID_IUnknown, place), CLASS_E_CLASSNOTAVAILABLE},
      {module.GetClassObject(CLSID_Tlkc, IID_IDispatch, place), E_NOINTERFACE},
      {module.GetClassObject(CLSID_Tlkc, IID_IUnknown, nullptr), E_POINTER},
      {factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER},
      {factory->CreateInstance(nullptr, CLSID_Tlkc, place), E_NOINTERFACE},
      {factory->CreateInstance(factory.Get(), IID_IDispatch, place), CLASS_E_NOAGGREGATION}};
  for (const auto& [result, expected] : calls) EXPECT_EQ(result, expected);
  EXPECT_EQ(module.Call("DllCanUnloadNow"), S_FALSE) << "a class object";
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  factory = nullptr;
  EXPECT_EQ(module.Call("DllCanUnloadNow"), S_FALSE) << "a lock";
  object = module.Create();
  EXPECT_EQ(module.Factory()->LockServer(FALSE), S_OK);
  EXPECT_EQ(module.Call("DllCanUnloadNow"), S_FALSE) << "a control";
}

}  // namespace tlk
