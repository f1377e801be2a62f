#pragma once

#include <new>

#include "control/Tlkc.h"

namespace tlk {

/// Runs the body of an automation method and lets no exception out of it.
template <typename Body>
ResultCode AtBoundary(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return kResultOutOfMemory;
  } catch (...) {
    return kResultFail;
  }
}

}  // namespace tlk
