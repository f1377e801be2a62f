#include <CLI/CLI.hpp>

#include "tools/tlk/host/ControlDriver.h"

namespace tlk::host {

void AddDriverOptions(CLI::App& command, DriverOptions& options) {
  command
      .add_option("--module", options.module,
                  "Take the control from this file instead of from the registration")
      ->type_name("FILE");
  command.add_flag("--window", options.showWindow, "Show the control's container on the screen");
}

}  // namespace tlk::host
