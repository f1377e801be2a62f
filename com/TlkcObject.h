#pragma once

#include <unknwn.h>
#include <windows.h>

namespace tlk {

/// Makes a control and hands out the interface asked for. With an `outer` unknown the control
/// becomes a part of that object, and only its own IUnknown may be asked for.
[[nodiscard]] HRESULT CreateTlkcObject(IUnknown* outer, REFIID iid, void** object) noexcept;

}  // namespace tlk
