#pragma once

#include <windows.h>

#include <new>
#include <utility>

namespace tlk {

/// Runs the body of a COM method, which returns an HRESULT, and lets no exception out of it.
template <typename Body>
HRESULT AtComBoundary(Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

}  // namespace tlk
