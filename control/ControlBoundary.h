#pragma once

#include <new>
#include <utility>

#include "control/Tlkc.h"

namespace tlk {

/// Runs the body of an automation method, holds the control of that window meanwhile, and lets no
/// exception out of it. `recover`, which must not throw, puts things in order when memory has run
/// out on the way.
template <typename Body, typename Recover>
ResultCode AtControlBoundary(const ControlWindow& window, Body&& body, Recover&& recover) noexcept {
  const auto held = window.Hold();
  try {
    return body();
  } catch (const std::bad_alloc&) {
    recover();
    return kResultOutOfMemory;
  } catch (...) {
    recover();
    return kResultFail;
  }
}

template <typename Body>
ResultCode AtControlBoundary(const ControlWindow& window, Body&& body) noexcept {
  return AtControlBoundary(window, std::forward<Body>(body), [] {});
}

}  // namespace tlk
