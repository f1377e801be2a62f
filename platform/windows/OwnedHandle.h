#pragma once

#include <windows.h>

#include <memory>
#include <type_traits>

namespace tlk {

struct HandleCloser {
  void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};

/// A kernel handle that is closed with its owner; null for none.
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

/// Owns what a call that fails with `INVALID_HANDLE_VALUE` has given.
[[nodiscard]] inline OwnedHandle OwnFile(HANDLE handle) {
  return OwnedHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

}  // namespace tlk
