#include "tools/tlk/net/System.h"

#include <asio/error.hpp>

#include "platform/Sockets.h"

namespace tlk::net {

std::optional<std::size_t> RaiseDescriptorLimit() { return std::nullopt; }

int ErrorNumber(const asio::error_code& error) {
  return error == asio::error::eof ? socket_error::kDisconnected : error.value();
}

}  // namespace tlk::net
