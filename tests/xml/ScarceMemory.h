#pragma once

#include <gtest/gtest.h>

#include <cstddef>

/// Memory that runs out. A program with this in it gets all that it makes with `new` from here.
namespace tlk::test {

/// As malloc, while the thread may still ask.
[[nodiscard]] void* AllocateScarce(std::size_t size);

/// How often the thread may still ask for memory (negative for as often as it likes), and whether
/// it was refused any since.
void AllowAllocations(int count);
[[nodiscard]] bool WasRefused();

/// Runs an operation with ever more memory until it has enough, and returns how often it had not.
/// The operation tells whether all that it got was right; it makes no assertions itself.
template <typename Operation>
int FailOneByOne(Operation operation) {
  for (int given = 0;; ++given) {
    AllowAllocations(given);
    const bool right = operation();
    const bool enough = !WasRefused();
    AllowAllocations(-1);
    EXPECT_TRUE(right) << "with " << given << " allocations";
    if (enough) return given;
  }
}

}  // namespace tlk::test
