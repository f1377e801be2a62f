#include "tests/com/LoadedModule.h"

namespace tlk {
namespace {

// A program whose own manifest names the module is run with the samples (tests/embedding).
TEST(RegistrationFreeTest, TheManifestInTheModuleStandsInForTheRegistry) {
  const Apartment apartment;
  const std::wstring module = FileBesideTest(L"TlkC2.dll");
  ACTCTXW host{};
  host.cbSize = sizeof host;
  host.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID;
  host.lpSource = module.c_str();
  host.lpResourceName = MAKEINTRESOURCEW(1);
  const HANDLE context = CreateActCtxW(&host);
  ULONG_PTR cookie = 0;
  ASSERT_TRUE(ActivateActCtx(context, &cookie));

  CLSID found{};
  EXPECT_EQ(CLSIDFromProgID(L"TlkC2.Tlkc", &found), S_OK);
  EXPECT_EQ(CLSIDFromProgID(L"TlkC2.Tlkc.1", &found), S_OK);
  DWORD status = 0;
  EXPECT_EQ(OleRegGetMiscStatus(found, DVASPECT_CONTENT, &status), S_OK);
  EXPECT_EQ(status, 131473u);
  ComPtr<ITypeLib> library;
  EXPECT_EQ(LoadRegTypeLib(LIBID_TLKC2Lib, 1, 0, 0, library.Put()), S_OK);
  ComPtr<IUnknown> control;
  EXPECT_EQ(CoCreateInstance(found, nullptr, CLSCTX_INPROC, IID_IUnknown, control.PutVoid()), S_OK);
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_NE(GetModuleHandleW(L"TlkC2.dll"), nullptr);
  control = nullptr;
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_EQ(GetModuleHandleW(L"TlkC2.dll"), nullptr);

  DeactivateActCtx(0, cookie);
  ReleaseActCtx(context);
}

}  // namespace
}  // namespace tlk
