#pragma once

#include <asio/error_code.hpp>
#include <cstddef>
#include <optional>

namespace tlk::net {

/// Lets this process have as many sockets as the system allows it, and returns how many descriptors
/// that are; none where there is no such limit.
std::optional<std::size_t> RaiseDescriptorLimit();

/// The number of an error as the trace log has it; of the end of the stream, too.
[[nodiscard]] int ErrorNumber(const asio::error_code& error);

}  // namespace tlk::net
