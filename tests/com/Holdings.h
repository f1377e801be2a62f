#pragma once

#include <cstddef>
#include <iosfwd>

namespace tlk {

/// What the process has of things that a module can leave behind when it is unloaded.
struct Holdings {
  [[nodiscard]] static Holdings Count();

  std::size_t heapBlocks = 0;
  std::size_t heapBytes = 0;
  std::size_t privateBytes = 0;
  std::size_t handles = 0;
  std::size_t windows = 0;
  std::size_t tlsIndexes = 0;
  std::size_t modules = 0;
};

std::ostream& operator<<(std::ostream& out, const Holdings& holdings);

}  // namespace tlk
