#pragma once

#include <chrono>

namespace tlk::load {

/// The processor time that this process has used.
[[nodiscard]] std::chrono::microseconds OwnProcessorTime();

/// Whether somebody watches standard error.
[[nodiscard]] bool ErrorIsTerminal();

}  // namespace tlk::load
