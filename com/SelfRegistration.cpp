#include "com/SelfRegistration.h"

#include <TlkC2.h>

#include <string>

#include "com/ClassesRoot.h"
#include "com/ComBoundary.h"
#include "com/Module.h"
#include "com/Registrar.h"
#include "com/Resource.h"
#include "platform/windows/ComPtr.h"

// The system's headers lack these two.
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

bool IsLibraryRegistered() {
  std::wstring id(39, L'\0');
  StringFromGUID2(LIBID_TLKC2Lib, id.data(), static_cast<int>(id.size()));
  id.pop_back();
  const std::wstring name = L"TypeLib\\" + id + kVersionKey + kSystemKey;
  HKEY key = nullptr;
  const LSTATUS opened = RegOpenKeyExW(HKEY_CLASSES_ROOT, name.c_str(), 0, KEY_READ, &key);
  if (opened == ERROR_SUCCESS) RegCloseKey(key);
  return opened != ERROR_FILE_NOT_FOUND;
}

HRESULT RemoveLibrary(const Scope& scope) {
  // The system takes the removal of what is not there for a failure.
  if (!IsLibraryRegistered()) return S_OK;
  return scope.removeLibrary(LIBID_TLKC2Lib, kMajorVersion, kMinorVersion, kAnyLocale, kSystem);
}

HRESULT AddAll(const Scope& scope, const Registrar& registrar, const std::wstring& path) {
  const HRESULT added = registrar.Add(IDR_REGISTRATION);
  return FAILED(added) ? added : AddLibrary(scope, path);
}

/// Removes what it can, whatever fails; the first failure counts.
HRESULT RemoveAll(const Scope& scope, const Registrar& registrar) {
  const HRESULT library = RemoveLibrary(scope);
  const HRESULT script = registrar.Remove(IDR_REGISTRATION);
  return FAILED(library) ? library : script;
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
