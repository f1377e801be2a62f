#pragma once

namespace CLI {
class App;
}

namespace tlk {

/// Adds `tlk tap`, which stands between hosts and a server and shows what they say. Running it
/// leaves its status in `exitStatus`: 0 when it ended as it was told to, 1 when it could not listen
/// or record.
void AddTapCommand(CLI::App& app, int& exitStatus);

}  // namespace tlk
