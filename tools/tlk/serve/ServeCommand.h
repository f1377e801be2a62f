#pragma once

namespace CLI {
class App;
}

namespace tlk {

/// Adds `tlk serve`, the development server, to the program. Running it leaves its status in
/// `exitStatus`: 0 when it ended as it was told to, 1 when it could not serve or a conversation
/// went otherwise than its script says.
void AddServeCommand(CLI::App& app, int& exitStatus);

}  // namespace tlk
