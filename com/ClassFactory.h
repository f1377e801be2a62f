#pragma once

#include <unknwn.h>
#include <windows.h>

namespace tlk {

/// Makes the class object of the control and hands out the interface asked for.
///
/// The class object makes controls, plain or as parts of another object, and lets a host lock the
/// module in memory. It holds the module itself for as long as it lives.
[[nodiscard]] HRESULT CreateClassFactory(REFIID iid, void** object) noexcept;

}  // namespace tlk
