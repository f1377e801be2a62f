#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <type_traits>

namespace tlk::host {

/// Where controls come from: the registration, or a module that needs none. It outlives what it
/// makes. Used by one thread, which has initialised OLE.
class ControlSource {
 public:
  /// The module's path in narrow ANSI text; empty for the registered control.
  explicit ControlSource(std::string module) : m_path(std::move(module)) {}
  ~ControlSource();

  ControlSource(const ControlSource&) = delete;
  ControlSource& operator=(const ControlSource&) = delete;

  /// The name by which the system makes a control: its program id, or the class id of the module's
  /// class, which the first call makes known to this process alone. Throws ComFailure.
  [[nodiscard]] const std::wstring& ClassName();

 private:
  struct Unload {
    void operator()(HMODULE module) const;
  };

  void Publish();

  const std::string m_path;
  std::unique_ptr<std::remove_pointer_t<HMODULE>, Unload> m_module;
  DWORD m_published = 0;
  std::wstring m_className;
};

}  // namespace tlk::host
