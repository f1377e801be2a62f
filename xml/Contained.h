#pragma once

#include <exception>
#include <new>

#include "xml/Dom.h"

namespace tlk {

/// Runs an operation of a DOM so that nothing leaves it but its result.
template <typename Operation>
[[nodiscard]] DomResult Contained(Operation operation) noexcept {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    return kDomOutOfMemory;
  } catch (const std::exception&) {
    return kDomFailed;
  }
}

}  // namespace tlk
