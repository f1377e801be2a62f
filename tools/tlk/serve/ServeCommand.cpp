#include "tools/tlk/serve/ServeCommand.h"

#include <CLI/CLI.hpp>

namespace tlk {

void AddServeCommand(CLI::App& app, int& exitStatus) {
  auto* serve = app.add_subcommand("serve", "Run a development server.");
  serve->callback([&exitStatus] { exitStatus = 1; });
}

}  // namespace tlk
