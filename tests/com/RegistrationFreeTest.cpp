#include <TlkC2.h>
#include <gtest/gtest.h>

#include "tests/com/ModuleFile.h"

namespace tlk {
namespace {

/// The context of a host that has the manifest for its own: a file, or the resource `inside` one.
HANDLE ContextOf(const wchar_t* name, WORD inside) {
  const std::wstring manifest = FileBesideTest(name);
  const std::wstring folder = FileBesideTest(L"");
  ACTCTXW context{};
  context.cbSize = sizeof context;
  context.dwFlags =
      ACTCTX_FLAG_ASSEMBLY_DIRECTORY_VALID | (inside != 0 ? ACTCTX_FLAG_RESOURCE_NAME_VALID : 0);
  context.lpSource = manifest.c_str();
  context.lpResourceName = MAKEINTRESOURCEW(inside);
  context.lpAssemblyDirectory = folder.c_str();
  return CreateActCtxW(&context);
}

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

TEST(RegistrationFreeTest, AManifestStandsInForTheRegistry) {
  const Apartment apartment;
  for (const auto& [manifest, inside] : {std::pair{L"TlkC2.dll", 1}, {L"host.manifest", 0}}) {
    const HANDLE context = ContextOf(manifest, static_cast<WORD>(inside));
    ULONG_PTR cookie = 0;
    ASSERT_TRUE(ActivateActCtx(context, &cookie)) << manifest;
    FindTheControlAndLetItGo();
    DeactivateActCtx(0, cookie);
    ReleaseActCtx(context);
  }
}

}  // namespace
}  // namespace tlk
