#pragma once

namespace CLI {
class App;
}

namespace tlk {

/// Adds the subcommand `load`.
void AddLoadCommand(CLI::App& app, int& exitStatus);

}  // namespace tlk
