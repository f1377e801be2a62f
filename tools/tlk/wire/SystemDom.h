#pragma once

#include <memory>

#include "xml/Dom.h"

namespace tlk::wire {

/// The DOM of the system that this program is built for. The thread that makes it uses it, and
/// outlives it.
[[nodiscard]] std::unique_ptr<DomFactory> NewSystemDom();

}  // namespace tlk::wire
