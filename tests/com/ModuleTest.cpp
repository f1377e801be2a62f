#include "tests/com/LoadedModule.h"
#include "tests/com/ProcessHoldings.h"

namespace tlk {
namespace {

class ModuleTest : public testing::Test {
 protected:
  const Apartment m_apartment;
};

TEST_F(ModuleTest, ServesOneClassAndStaysForWhatHoldsIt) {
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

TEST_F(ModuleTest, AThousandLoadsLeaveNothingBehind) {
  ExpectToLeaveNothing([](int) { EXPECT_TRUE(LoadedModule().Create()); });
  EXPECT_EQ(GetModuleHandleW(L"TlkC2.dll"), nullptr);
}

// A program whose own manifest names the module is run with the samples (tests/embedding).
TEST_F(ModuleTest, ItsManifestStandsInForTheRegistry) {
  const std::wstring module = FileBesideTest("TlkC2.dll").wstring();
  ACTCTXW host{};
  host.cbSize = sizeof host;
  host.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
  host.lpSource = module.c_str();
  host.lpResourceName = MAKEINTRESOURCEW(1);
  const HANDLE context = CreateActCtxW(&host);
  ULONG_PTR cookie = 0;
  ASSERT_TRUE(ActivateActCtx(context, &cookie));
  CLSID found{};
  DWORD status = 0;
  ComPtr<ITypeLib> library;
  ComPtr<IUnknown> control;
  EXPECT_EQ(CLSIDFromProgID(L"TlkC2.Tlkc.1", &found), S_OK);
  EXPECT_EQ(OleRegGetMiscStatus(found, DVASPECT_CONTENT, &status), S_OK);
  EXPECT_EQ(status, 131473U);
  EXPECT_EQ(LoadRegTypeLib(LIBID_TLKC2Lib, 1, 0, 0, library.Put()), S_OK);
  EXPECT_EQ(CoCreateInstance(found, nullptr, CLSCTX_INPROC, IID_IUnknown, control.PutVoid()), S_OK);
  DeactivateActCtx(0, cookie);
  ReleaseActCtx(context);
}

}  // namespace
}  // namespace tlk
