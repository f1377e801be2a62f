#pragma once

#include <oaidl.h>

#include "platform/windows/ComPtr.h"

namespace tlk {

/// Reads a type out of the type library in the module's own file. The system keeps a library that
/// is in use, so asking again is cheap while anything of it is held.
[[nodiscard]] HRESULT LoadTypeInfo(REFGUID type, ComPtr<ITypeInfo>& info);

}  // namespace tlk
