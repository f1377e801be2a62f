#include <windows.h>

#include <TlkC2.h>

#include "com/ClassFactory.h"
#include "com/InPlaceWindow.h"
#include "com/Module.h"
#include "com/SelfRegistration.h"

extern "C" {

// Thread notifications are not switched off: the C++ runtime that is linked in needs them.
BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID processEnds) {
  static constinit bool isStarted = false;
  if (reason == DLL_PROCESS_ATTACH) {
    isStarted = tlk::Module::Get().Start(instance);
    return isStarted ? TRUE : FALSE;
  }
  // The system calls this after a start that has failed, too.
  if (reason == DLL_PROCESS_DETACH && processEnds == nullptr && isStarted) {
    tlk::Module::Get().End();
    tlk::InPlaceWindow::ForgetClass();
  }
  return TRUE;
}

HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID classId, REFIID iid, LPVOID* object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (classId != CLSID_Tlkc) return CLASS_E_CLASSNOTAVAILABLE;
  return tlk::CreateClassFactory(iid, object);
}

HRESULT STDAPICALLTYPE DllCanUnloadNow() { return tlk::Module::Get().IsHeld() ? S_FALSE : S_OK; }

HRESULT STDAPICALLTYPE DllRegisterServer() {
  return tlk::Register(tlk::RegistrationScope::Machine);
}

HRESULT STDAPICALLTYPE DllUnregisterServer() {
  return tlk::Unregister(tlk::RegistrationScope::Machine);
}

/// Registers, or unregisters, for everyone, or for the current user alone when `argument` is
/// "user".
HRESULT STDAPICALLTYPE DllInstall(BOOL install, LPCWSTR argument) {
  const bool forUser = argument != nullptr && _wcsicmp(argument, L"user") == 0;
  if (!forUser && argument != nullptr && *argument != L'\0') return E_INVALIDARG;
  const auto scope = forUser ? tlk::RegistrationScope::User : tlk::RegistrationScope::Machine;
  return install != FALSE ? tlk::Register(scope) : tlk::Unregister(scope);
}

}  // extern "C"
