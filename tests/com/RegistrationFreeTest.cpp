#include "tests/com/LoadedModule.h"

namespace tlk {
namespace {

void FindTheControlAndLetItGo() {
  CLSID found{};
  EXPECT_EQ(CLSIDFromProgID(L"TlkC2.Tlkc", &found), S_OK);
  ASSERT_EQ(CLSIDFromProgID(L"TlkC2.Tlkc.1", &found), S_OK);
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
}

// A file, or the resource that is in one.
TEST(RegistrationFreeTest, AManifestStandsInForTheRegistry) {
  const Apartment apartment;
  const std::wstring folder = FileBesideTest(L"");
  for (const auto& [name, resource] : {std::pair{L"TlkC2.dll", 1}, {L"host.manifest", 0}}) {
    const std::wstring manifest = FileBesideTest(name);
    ACTCTXW host{};
    host.cbSize = sizeof host;
    host.dwFlags = ACTCTX_FLAG_ASSEMBLY_DIRECTORY_VALID;
    if (resource != 0) host.dwFlags |= ACTCTX_FLAG_RESOURCE_NAME_VALID;
    host.lpSource = manifest.c_str();
    host.lpResourceName = MAKEINTRESOURCEW(resource);
    host.lpAssemblyDirectory = folder.c_str();
    const HANDLE context = CreateActCtxW(&host);
    ULONG_PTR cookie = 0;
    ASSERT_TRUE(ActivateActCtx(context, &cookie)) << name;
    FindTheControlAndLetItGo();
    DeactivateActCtx(0, cookie);
    ReleaseActCtx(context);
  }
}

}  // namespace
}  // namespace tlk
