#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>

/// Memory that runs out. A program with this in it gets all that it makes with `new` from here.
namespace tlk::test {

/// How often may still be asked for memory (negative for as often as one likes), and how often it
/// is refused then, before there is plenty again.
struct MemoryLimit {
  std::atomic<int> left{-1};
  std::atomic<int> refusals{0};
  std::atomic<bool> hasRefused{false};

  void Set(int allowed, int refused) {
    hasRefused = false;
    refusals = refused;
    left = allowed;
  }
};

inline constexpr int kEveryTime = 1 << 30;

/// Sets the calling thread's limit, null for none, and gives back the one that it had.
MemoryLimit* SetMemoryLimit(MemoryLimit* limit);

/// A limit of the calling thread, for a scope.
class LimitedMemory {
 public:
  explicit LimitedMemory(MemoryLimit* limit) : m_before(SetMemoryLimit(limit)) {}
  ~LimitedMemory() { SetMemoryLimit(m_before); }
  LimitedMemory(const LimitedMemory&) = delete;
  LimitedMemory& operator=(const LimitedMemory&) = delete;

 private:
  MemoryLimit* const m_before;
};

/// Lifts the limit for a scope: what a test does inside the product's calls.
struct PlentyOfMemory : LimitedMemory {
  PlentyOfMemory() : LimitedMemory(nullptr) {}
};

/// Whether the calling thread's limit has refused any.
[[nodiscard]] bool WasRefused();

/// As malloc and free, within the limit.
[[nodiscard]] void* AllocateScarce(std::size_t size);
void FreeScarce(void* memory);

/// How many pieces of memory have been made here and not been given back.
[[nodiscard]] long LiveAllocations();

/// Runs an operation with ever more memory until it has enough, and returns how often it had not.
/// The operation tells whether all that it got was right; it makes no assertions itself. It is
/// refused memory `refused` times, each time that it asks for some.
template <typename Operation>
int FailOneByOne(Operation operation, int refused = kEveryTime) {
  for (int given = 0;; ++given) {
    MemoryLimit limit;
    limit.Set(given, refused);
    const bool right = [&] {
      const LimitedMemory limited(&limit);
      return operation();
    }();
    EXPECT_TRUE(right) << "with " << given << " allocations";
    if (!limit.hasRefused) return given;
  }
}

}  // namespace tlk::test
