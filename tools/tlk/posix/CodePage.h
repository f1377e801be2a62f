#pragma once

namespace CLI {
class App;
}

namespace tlk {

/// Adds the option that names the system's ANSI code page, which has none of its own here.
void AddCodePageOption(CLI::App& command);

}  // namespace tlk
