#pragma once

#include <asio/ip/tcp.hpp>
#include <cstdint>
#include <string>

namespace tlk::serve {

/// Makes an acceptor listen on 127.0.0.1, and nowhere else, at a port; 0 lets the system choose.
[[nodiscard]] asio::error_code ListenOnLoopback(asio::ip::tcp::acceptor& acceptor,
                                                std::uint16_t port);

/// "listening 127.0.0.1:PORT", the first line that a server writes.
[[nodiscard]] std::string ListeningLine(const asio::ip::tcp::acceptor& acceptor);

}  // namespace tlk::serve
