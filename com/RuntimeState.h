#pragma once

namespace tlk {

/// Frees what the C++ runtime, which is linked into the module, has set aside for exceptions.
/// For the moment before the module is unloaded; nothing of the module may run on another thread.
void FreeRuntimeState();

}  // namespace tlk
