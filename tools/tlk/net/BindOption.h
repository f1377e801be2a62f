#pragma once

#include <CLI/CLI.hpp>
#include <asio/ip/address.hpp>
#include <cstdio>
#include <string>

#include "tools/tlk/Words.h"

namespace tlk::net {

/// Adds `--bind`, the address that a command listens at; `address` is what it is without it.
inline void AddBind(CLI::App& command, asio::ip::address& address) {
  const auto read = [&address](const std::string& word) {
    asio::error_code error;
    address = asio::ip::make_address(word, error);
    if (error) throw CLI::ValidationError("--bind must be an IP address, not " + Quote(word));
  };
  command
      .add_option_function<std::string>(
          "--bind", read,
          "Listen at that IP address; others than this machine's own are open to all")
      ->type_name("ADDRESS")
      ->default_str(address.to_string());
}

/// Warns on standard error when other machines can reach the address.
inline void WarnIfOpen(const char* program, const asio::ip::address& address) {
  if (address.is_loopback()) return;
  std::fprintf(stderr,
               "%s: warning: other machines can connect, and the wire is neither encrypted nor "
               "authenticated\n",
               program);
}

}  // namespace tlk::net
