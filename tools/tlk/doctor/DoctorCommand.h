#pragma once

namespace CLI {
class App;
}

namespace tlk {

/// Adds `tlk doctor`, which looks at how the control is registered. When it is the one that was
/// asked for, `exitStatus` becomes 0 when the control is registered and all fits, else 1.
void AddDoctorCommand(CLI::App& app, int& exitStatus);

}  // namespace tlk
