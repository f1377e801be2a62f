#include "tools/tlk/net/Listening.h"

#include <asio/ip/v6_only.hpp>

#include "tools/tlk/net/AddressUse.h"

namespace tlk::net {

asio::error_code Listen(asio::ip::tcp::acceptor& acceptor, const asio::ip::tcp::endpoint& where) {
  using asio::ip::tcp;
  asio::error_code error;
  acceptor.open(where.protocol(), error);
  if (!error) error = TakeAddressAlone(acceptor);
  if (!error && where.address().is_v6()) acceptor.set_option(asio::ip::v6_only(true), error);
  if (!error) acceptor.bind(where, error);
  if (!error) acceptor.listen(tcp::acceptor::max_listen_connections, error);
  return error;
}

std::string ListeningLine(const asio::ip::tcp::acceptor& acceptor) {
  asio::error_code error;
  const auto address = acceptor.local_endpoint(error);
  const auto host = address.address().to_string();
  return "listening " + (address.address().is_v6() ? "[" + host + "]" : host) + ":" +
         std::to_string(address.port());
}

}  // namespace tlk::net
