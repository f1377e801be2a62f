#include "tools/tlk/net/AddressUse.h"

namespace tlk::net {

// Only connections that linger from before are in the way here; nobody shares with one who listens.
asio::error_code TakeAddressAlone(asio::ip::tcp::acceptor& acceptor) {
  asio::error_code error;
  acceptor.set_option(asio::ip::tcp::acceptor::reuse_address(true), error);
  return error;
}

}  // namespace tlk::net
