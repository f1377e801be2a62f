#pragma once

#include <cstdint>
#include <memory>

#include "platform/Synchronisation.h"

namespace tlk {

/// How an attempt to hold a mutex ended.
namespace mutex_status {
inline constexpr std::uint32_t kHeld = 0;  ///< Also given when a wait fails outright.
inline constexpr std::uint32_t kTimedOut = 2;
inline constexpr std::uint32_t kAbandoned = 3;  ///< Its former owner ended without releasing it.
inline constexpr std::uint32_t kNoName = 5;
inline constexpr std::uint32_t kNoHandle = 6;
inline constexpr std::uint32_t kNotCreated = 7;  ///< Could neither be opened nor created.
}  // namespace mutex_status

/// The status number of a wait for a mutex.
[[nodiscard]] std::uint32_t MutexStatus(WaitResult result);

/// Opens the mutex of that name, or makes it, free. A null or empty name is none. Returns null
/// unless the status is `kHeld`, which here only says that the mutex is open.
[[nodiscard]] std::unique_ptr<SystemMutex> OpenOrCreateMutex(Synchronisation& synchronisation,
                                                             const char* name,
                                                             std::uint32_t& status);

/// Whether somebody holds the mutex of that name; makes it if need be. An abandoned mutex counts as
/// busy, once.
[[nodiscard]] bool IsMutexBusy(Synchronisation& synchronisation, const char* name);

/// Takes the mutex of that name, waiting as long as `milliseconds` say. Returns it held, or null:
/// with `kAbandoned` it was acquired and is handed back at once, and when the wait fails outright
/// the status is `kHeld` all the same. Give it back with `ReleaseAndCloseMutex`, on the same
/// thread.
[[nodiscard]] std::unique_ptr<SystemMutex> AcquireMutex(Synchronisation& synchronisation,
                                                        const char* name,
                                                        std::uint32_t milliseconds,
                                                        std::uint32_t& status);

/// Releases the mutex and closes it; nothing happens for null.
void ReleaseAndCloseMutex(std::unique_ptr<SystemMutex> mutex);

}  // namespace tlk
