#pragma once

#include <asio/ip/tcp.hpp>

namespace tlk::net {

/// Lets an open acceptor have an address that its last owner has just left, and lets nobody have
/// it besides.
[[nodiscard]] asio::error_code TakeAddressAlone(asio::ip::tcp::acceptor& acceptor);

}  // namespace tlk::net
