#include "tools/tlk/serve/Listening.h"

#include <asio/ip/address_v4.hpp>

namespace tlk::serve {

asio::error_code ListenOnLoopback(asio::ip::tcp::acceptor& acceptor, std::uint16_t port) {
  using asio::ip::tcp;
  const tcp::endpoint address(asio::ip::address_v4::loopback(), port);
  asio::error_code error;
  acceptor.open(address.protocol(), error);
  if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) acceptor.bind(address, error);
  if (!error) acceptor.listen(tcp::acceptor::max_listen_connections, error);
  return error;
}

std::string ListeningLine(const asio::ip::tcp::acceptor& acceptor) {
  asio::error_code error;
  const auto address = acceptor.local_endpoint(error);
  return "listening " + address.address().to_string() + ":" + std::to_string(address.port());
}

}  // namespace tlk::serve
