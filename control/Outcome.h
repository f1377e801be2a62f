#pragma once

namespace tlk {

/// How a step inside the control went. One that failed has left its record, where it has one.
enum class [[nodiscard]] Outcome{kDone, kFailed};

}  // namespace tlk
