#pragma once

#include <cstdint>

namespace tlk {

/// The message types that mean something to the transport; every other goes to the host untouched.
/// They are compared byte for byte.
inline constexpr const char* kKeepAlive = "Keep Connection Alive";
inline constexpr const char* kKeepAliveResponse = "Keep Connection Alive Response";

/// The id of the server, as sender and as receiver.
inline constexpr std::int32_t kServerId = 0;

}  // namespace tlk
