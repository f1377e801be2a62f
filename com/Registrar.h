#pragma once

#include <unknwn.h>
#include <windows.h>

#include <string>

#include "platform/windows/ComPtr.h"

namespace tlk {

struct SystemRegistrar;

/// The system's processor of registration scripts, which lives in its atl.dll.
class Registrar {
 public:
  Registrar();
  ~Registrar();

  Registrar(const Registrar&) = delete;
  Registrar& operator=(const Registrar&) = delete;

  /// Loads the processor and has it put the path of `module` for "%MODULE%" in scripts.
  [[nodiscard]] HRESULT Open(const std::wstring& module);

  /// Adds, or removes, the keys of the script that is resource `id` of the module.
  [[nodiscard]] HRESULT Add(UINT id) const;
  [[nodiscard]] HRESULT Remove(UINT id) const;

 private:
  std::wstring m_module;
  HMODULE m_library = nullptr;
  ComPtr<SystemRegistrar> m_registrar;
};

}  // namespace tlk
