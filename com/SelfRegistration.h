#pragma once

#include <windows.h>

namespace tlk {

/// For whom the control is registered: everyone on the machine, which takes an administrator's
/// rights, or the current user alone.
enum class RegistrationScope { Machine, User };

/// Registers the class and the type library with the module where it lies now, replacing an earlier
/// registration. After a failure nothing of it is left.
[[nodiscard]] HRESULT Register(RegistrationScope scope) noexcept;

/// Removes what `Register` has written for that scope, and nothing of the other one. While the
/// module of the other bitness is registered for the same scope, what both use stays: the names of
/// the class, and the interfaces. Succeeds also when nothing is registered.
[[nodiscard]] HRESULT Unregister(RegistrationScope scope) noexcept;

}  // namespace tlk
