#pragma once

#include <windows.h>

namespace tlk {

/// For whom the control is registered: everyone on the machine, which takes an administrator's
/// rights, or the current user alone.
enum class RegistrationScope { Machine, User };

/// Registers the class and the type library with the module where it lies now, replacing an earlier
/// registration. After a failure nothing of it is left.
[[nodiscard]] HRESULT Register(RegistrationScope scope) noexcept;

/// Removes all of that, other places of registration excepted, and excepting what the other bitness
/// needs as well while it is registered in the same place: the names of the class and the
/// interfaces. Good as well when there is nothing.
[[nodiscard]] HRESULT Unregister(RegistrationScope scope) noexcept;

}  // namespace tlk
