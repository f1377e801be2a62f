#pragma once

#include <cstdint>

#include "platform/Export.h"

namespace tlk {

/// The number of the calling thread, never 0: what `Synchronisation::CurrentThreadId` gives,
/// without a port in between, for every lock asks for it each time it is taken.
[[nodiscard]] TLKC2_API std::uint32_t CallingThread() noexcept;

}  // namespace tlk
