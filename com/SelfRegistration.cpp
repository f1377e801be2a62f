#include "com/SelfRegistration.h"

#include <TlkC2.h>

#include <string>

#include "com/ClassesRoot.h"
#include "com/ComBoundary.h"
#include "com/Module.h"
#include "com/Registrar.h"
#include "com/Resource.h"
#include "platform/windows/ComPtr.h"

// Functions of oleaut32 that the compiler's headers do not declare.
extern "C" {
HRESULT WINAPI RegisterTypeLibForUser(ITypeLib* library, OLECHAR* path, OLECHAR* helpFolder);
HRESULT WINAPI UnRegisterTypeLibForUser(REFGUID id, WORD major, WORD minor, LCID locale,
                                        SYSKIND system);
}

namespace tlk {
namespace {

constexpr bool kIs64Bit = sizeof(void*) == 8;
constexpr SYSKIND kSystem = kIs64Bit ? SYS_WIN64 : SYS_WIN32;
constexpr const wchar_t* kSystemKey = kIs64Bit ? L"win64" : L"win32";
constexpr REGSAM kOtherView = kIs64Bit ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
constexpr WORD kMajorVersion = 1;
constexpr WORD kMinorVersion = 0;
constexpr LCID kAnyLocale = 0;
constexpr const wchar_t* kVersionKey = L"\\1.0\\0\\";

struct Scope {
  HKEY hive;
  decltype(&RegisterTypeLib) addLibrary;
  decltype(&UnRegisterTypeLib) removeLibrary;
};

Scope Of(RegistrationScope scope) {
  if (scope == RegistrationScope::User) {
    return {HKEY_CURRENT_USER, RegisterTypeLibForUser, UnRegisterTypeLibForUser};
  }
  return {HKEY_LOCAL_MACHINE, RegisterTypeLib, UnRegisterTypeLib};
}

HRESULT AddLibrary(const Scope& scope, std::wstring path) {
  ComPtr<ITypeLib> library;
  const HRESULT loaded = LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.Put());
  if (FAILED(loaded)) return loaded;
  return scope.addLibrary(library.Get(), path.data(), nullptr);
}

std::wstring Text(REFGUID id) {
  std::wstring text(39, L'\0');
  StringFromGUID2(id, text.data(), static_cast<int>(text.size()));
  text.pop_back();
  return text;
}

/// Fails when the key is not there.
LSTATUS LookFor(HKEY root, const std::wstring& name, REGSAM view) {
  HKEY key = nullptr;
  const LSTATUS opened = RegOpenKeyExW(root, name.c_str(), 0, KEY_READ | view, &key);
  if (opened == ERROR_SUCCESS) RegCloseKey(key);
  return opened;
}

/// Whether the hive has the module of the other bitness as well, whose class has a key of its own.
bool IsOtherRegistered(HKEY hive) {
  const std::wstring name = L"Software\\Classes\\CLSID\\" + Text(CLSID_Tlkc);
  return LookFor(hive, name, kOtherView) == ERROR_SUCCESS;
}

std::wstring LibraryKey() { return L"TypeLib\\" + Text(LIBID_TLKC2Lib) + kVersionKey + kSystemKey; }

HRESULT RemoveLibrary(const Scope& scope) {
  // The system's function fails when nothing is registered.
  if (LookFor(HKEY_CLASSES_ROOT, LibraryKey(), 0) == ERROR_FILE_NOT_FOUND) return S_OK;
  return scope.removeLibrary(LIBID_TLKC2Lib, kMajorVersion, kMinorVersion, kAnyLocale, kSystem);
}

/// Removes the path of this bitness's file only. The system's function would remove the interfaces
/// too, which are registered once for both bitnesses.
HRESULT RemoveLibraryFile() {
  const LSTATUS removed = RegDeleteTreeW(HKEY_CLASSES_ROOT, LibraryKey().c_str());
  return removed == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(removed);
}

HRESULT AddAll(const Scope& scope, const Registrar& registrar, const std::wstring& path) {
  for (const UINT script : {IDR_NAMES, IDR_CLASS}) {
    const HRESULT added = registrar.Add(script);
    if (FAILED(added)) return added;
  }
  return AddLibrary(scope, path);
}

/// Removes what it can even when a part of it fails, and returns the first failure. What both
/// bitnesses share is removed with the last of them.
HRESULT RemoveAll(const Scope& scope, const Registrar& registrar) {
  const HRESULT ofClass = registrar.Remove(IDR_CLASS);
  // Asked after the class is removed: on a system of one bitness both have one key, which would be
  // this module's own.
  const bool isShared = IsOtherRegistered(scope.hive);
  const HRESULT library = isShared ? RemoveLibraryFile() : RemoveLibrary(scope);
  const HRESULT names = isShared ? S_OK : registrar.Remove(IDR_NAMES);
  for (const HRESULT result : {ofClass, library}) {
    if (FAILED(result)) return result;
  }
  return names;
}

HRESULT Enter(const ClassesRoot& classes, Registrar& registrar, const std::wstring& path) {
  if (FAILED(classes.Result())) return classes.Result();
  return path.empty() ? E_FAIL : registrar.Open(path);
}

}  // namespace

HRESULT Register(RegistrationScope which) noexcept {
  return AtComBoundary([&] {
    const Scope scope = Of(which);
    const ClassesRoot classes(scope.hive);
    const std::wstring path = Module::Get().Path();
    Registrar registrar;
    const HRESULT entered = Enter(classes, registrar, path);
    if (FAILED(entered)) return entered;
    const HRESULT added = AddAll(scope, registrar, path);
    if (FAILED(added)) static_cast<void>(RemoveAll(scope, registrar));
    return added;
  });
}

HRESULT Unregister(RegistrationScope which) noexcept {
  return AtComBoundary([&] {
    const Scope scope = Of(which);
    const ClassesRoot classes(scope.hive);
    Registrar registrar;
    const HRESULT entered = Enter(classes, registrar, Module::Get().Path());
    return FAILED(entered) ? entered : RemoveAll(scope, registrar);
  });
}

}  // namespace tlk
