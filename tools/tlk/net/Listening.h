#pragma once

#include <asio/ip/tcp.hpp>
#include <string>

namespace tlk::net {

/// Makes an acceptor listen at an address and port, and nowhere else; port 0 lets the system
/// choose.
[[nodiscard]] asio::error_code Listen(asio::ip::tcp::acceptor& acceptor,
                                      const asio::ip::tcp::endpoint& where);

/// "listening ADDRESS:PORT", the first line that a server writes.
[[nodiscard]] std::string ListeningLine(const asio::ip::tcp::acceptor& acceptor);

}  // namespace tlk::net
