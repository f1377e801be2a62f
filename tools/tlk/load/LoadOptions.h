#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "tools/tlk/net/Target.h"

namespace tlk::load {

struct LoadOptions {
  net::Target server;
  std::uint32_t clients = 100;
  std::optional<std::uint32_t> rate;  ///< Messages a second of all; none: as replies come.
  std::size_t size = 200;             ///< Bytes of a message.
  std::chrono::seconds runFor{10};
  std::chrono::seconds ramp{0};  ///< The time over which the connections are made.
  bool requests = false;         ///< Each client waits for the reply to a message.
};

}  // namespace tlk::load
