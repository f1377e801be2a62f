#pragma once

#include <TlkC2.h>
#include <gtest/gtest.h>
#include <ole2.h>
#include <windows.h>

#include <filesystem>

#include "platform/windows/ComPtr.h"

namespace tlk {

/// A file of the folder where the test program and the module lie.
inline std::filesystem::path FileBesideTest(const char* name) {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return std::filesystem::path(path).replace_filename(name);
}

/// The module, loaded as it lies beside the test, in a single-threaded apartment. In the end
/// nothing may hold it.
struct LoadedModule {
  LoadedModule() { OleInitialize(nullptr); }
  ~LoadedModule() {
    EXPECT_EQ(Call("DllCanUnloadNow"), S_OK);
    FreeLibrary(module);
    OleUninitialize();
  }

  /// Calls an entry point; E_NOTIMPL when there is none.
  template <typename... Arguments>
  HRESULT Call(const char* entry, Arguments... arguments) const {
    using Entry = HRESULT(STDAPICALLTYPE*)(Arguments...);
    const auto address = reinterpret_cast<void (*)()>(GetProcAddress(module, entry));
    return address == nullptr ? E_NOTIMPL : reinterpret_cast<Entry>(address)(arguments...);
  }

  HRESULT GetClassObject(const CLSID& classId, const IID& iid, void** object) const {
    return Call<const CLSID&, const IID&, void**>("DllGetClassObject", classId, iid, object);
  }
  [[nodiscard]] ComPtr<IClassFactory> Factory() const {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(GetClassObject(CLSID_Tlkc, IID_IClassFactory, factory.PutVoid()), S_OK);
    return factory;
  }

  /// A control, plain or as a part of `outer`.
  [[nodiscard]] ComPtr<IUnknown> Create(IUnknown* outer = nullptr) const {
    ComPtr<IUnknown> made;
    EXPECT_EQ(Factory()->CreateInstance(outer, IID_IUnknown, made.PutVoid()), S_OK);
    return made;
  }

  const HMODULE module = LoadLibraryW(FileBesideTest("TlkC2.dll").c_str());
};

}  // namespace tlk
