#pragma once

namespace CLI {
class App;
}

namespace tlk {

/// Adds `tlk message`, the workbench for message documents. When it is the one that was asked for,
/// `exitStatus` becomes 0, or 1 when a line was refused, a checked stream has a fault, or a file
/// cannot be read.
void AddMessageCommand(CLI::App& app, int& exitStatus);

}  // namespace tlk
