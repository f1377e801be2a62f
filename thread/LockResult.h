#pragma once

#include <cstdint>
#include <limits>

namespace tlk {

/// How an attempt to take a semaphore or a lock ended. The numbers are the results that callers
/// see.
enum class LockResult : std::int32_t {
  kAcquired = 0,
  kDestroyed = 1,  ///< It was destroyed while the caller waited; it must not be touched any more.
  kTimedOut = 2,
};

/// The limit, in microseconds, of a wait that may last for ever. A limit of 0 or less only tries.
inline constexpr std::int64_t kForever = std::numeric_limits<std::int64_t>::max();

}  // namespace tlk
