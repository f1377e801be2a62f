#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <string>
#include <vector>

#include "tools/tlk/Words.h"
#include "tools/tlk/net/Target.h"

namespace tlk::net {

/// Adds `--to HOST PORT`, the server that a command needs.
inline void AddTarget(CLI::App& command, Target& target) {
  const auto read = [&target](const std::vector<std::string>& words) {
    const auto& port = words[1];
    const char* const end = port.data() + port.size();
    const auto [stop, code] = std::from_chars(port.data(), end, target.port);
    if (code != std::errc() || stop != end || target.port == 0) {
      throw CLI::ValidationError("--to must be a host and a port from 1 to 65535, not " +
                                 Quote(port));
    }
    target.host = words[0];
  };
  command
      .add_option_function<std::vector<std::string>>("--to", read, "The server, by name or address")
      ->type_size(2)
      ->expected(1)
      ->required()
      ->type_name("HOST PORT");
}

}  // namespace tlk::net
