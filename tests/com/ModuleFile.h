#pragma once

#include <ole2.h>
#include <windows.h>

#include <string>

#include "platform/windows/ComPtr.h"

namespace tlk {

/// A file of the folder where the test program and the module lie.
inline std::wstring FileBesideTest(const std::wstring& name) {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path.substr(0, path.rfind(L'\\') + 1) + name;
}

inline std::wstring ModuleFile() { return FileBesideTest(L"TlkC2.dll"); }

/// The single-threaded apartment in which a test runs.
class Apartment {
 public:
  Apartment() { OleInitialize(nullptr); }
  ~Apartment() { OleUninitialize(); }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
};

/// The module, loaded as a host without registration does it.
class LoadedModule {
 public:
  LoadedModule() : m_module(LoadLibraryW(ModuleFile().c_str())) {}
  ~LoadedModule() { FreeLibrary(m_module); }
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;

  template <typename... Arguments>
  HRESULT Call(const char* entry, Arguments... arguments) const {
    using Entry = HRESULT(STDAPICALLTYPE*)(Arguments...);
    const auto address = reinterpret_cast<void (*)()>(GetProcAddress(m_module, entry));
    return address == nullptr ? E_NOTIMPL : reinterpret_cast<Entry>(address)(arguments...);
  }

  HRESULT GetClassObject(const CLSID& classId, const IID& iid, void** object) const {
    return Call<const CLSID&, const IID&, void**>("DllGetClassObject", classId, iid, object);
  }

 private:
  HMODULE m_module;
};

}  // namespace tlk
