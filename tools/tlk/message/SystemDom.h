#pragma once

#include <memory>

#include "xml/Dom.h"

namespace CLI {
class App;
}

namespace tlk::message {

/// The DOM of the system that this program is built for. The thread that makes it uses it, and
/// outlives it.
[[nodiscard]] std::unique_ptr<DomFactory> NewSystemDom();

/// Adds the options that are this build's alone.
void AddSystemOptions(CLI::App& command);

}  // namespace tlk::message
