#pragma once

#include <cstdint>
#include <string>

namespace tlk::net {

/// Where a server is: a name or an address, and a port.
struct Target {
  std::string host;
  std::uint16_t port = 0;
};

}  // namespace tlk::net
