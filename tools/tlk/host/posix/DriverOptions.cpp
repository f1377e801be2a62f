#include "tools/tlk/host/ControlDriver.h"
#include "tools/tlk/posix/CodePage.h"

namespace tlk::host {

void AddDriverOptions(CLI::App& command, DriverOptions& /*options*/) { AddCodePageOption(command); }

}  // namespace tlk::host
