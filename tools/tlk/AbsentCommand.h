#pragma once

#include <string>

namespace CLI {
class App;
}

namespace tlk {

/// Adds a subcommand that another build of the program has, for whoever asks for it here: it says
/// `why` on standard error, and `exitStatus` becomes 2. It is not listed.
void AddAbsentCommand(CLI::App& app, int& exitStatus, const std::string& name,
                      const std::string& why);

}  // namespace tlk
