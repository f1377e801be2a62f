#pragma once

namespace CLI {
class App;
}

namespace tlk {

/// Adds `tlk log`, the reader of the trace log. When it is the one that was asked for, `exitStatus`
/// becomes 0, or 1 when a log cannot be read.
void AddLogCommand(CLI::App& app, int& exitStatus);

}  // namespace tlk
