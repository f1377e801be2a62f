#pragma once

#include <cstdint>

namespace tlk {

/// The number of the calling thread, never 0: what `Synchronisation::CurrentThreadId` gives,
/// without a port in between, for every lock asks for it each time it is taken.
[[nodiscard]] std::uint32_t CallingThread() noexcept;

}  // namespace tlk
