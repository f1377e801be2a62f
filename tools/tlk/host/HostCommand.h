#pragma once

namespace CLI {
class App;
}

namespace tlk {

/// Adds `tlk host`, the console that drives controls by commands. When it is the one that was asked
/// for, `exitStatus` becomes 0, 1 when a line was refused or the script cannot be read, or 3 when a
/// command failed that should not.
void AddHostCommand(CLI::App& app, int& exitStatus);

}  // namespace tlk
