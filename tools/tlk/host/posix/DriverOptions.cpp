#include <CLI/CLI.hpp>

#include "tools/tlk/host/ControlDriver.h"

namespace tlk::host {

void AddDriverOptions(CLI::App& command, DriverOptions& options) {
  command
      .add_option("--code-page", options.codePage, "The system's ANSI code page, such as CP1252")
      ->type_name("NAME");
}

}  // namespace tlk::host
