#pragma once

#include <gtest/gtest.h>

#include <cstddef>

#include "tests/scripted/MemoryLimit.h"

/// Memory that runs out. A program with this in it gets all that it makes with `new` from here.
namespace tlk::test {

/// Whether the calling thread's limit has refused any.
[[nodiscard]] inline bool WasRefused() { return t_memoryLimit && t_memoryLimit->hasRefused; }

/// As malloc and free, within the limit.
[[nodiscard]] void* AllocateScarce(std::size_t size);
void FreeScarce(void* memory);

/// How many pieces of memory have been made here and not been given back.
[[nodiscard]] long LiveAllocations();

/// Runs an operation with ever more memory until it has enough, and returns how often it had not.
/// The operation tells whether all that it got was right; it makes no assertions itself. It is
/// refused memory `refused` times, each time that it asks for some.
int FailOneByOne(auto operation, int refused = kEveryTime) {
  for (int given = 0;; ++given) {
    MemoryLimit limit{.allowed = given, .refusals = refused};
    EXPECT_TRUE(Within(limit, operation)) << "with " << given << " allocations";
    if (!limit.hasRefused) return given;
  }
}

}  // namespace tlk::test
