#pragma once

#include <atomic>
#include <utility>

/// How much memory a thread may have. It counts where ScarceMemory.cpp is part of the program.
namespace tlk::test {

/// How often memory may be asked for (negative for as often as one likes), and how often it is
/// refused then, before there is plenty again.
struct MemoryLimit {
  std::atomic<int> asked{0};
  std::atomic<int> allowed{-1};
  std::atomic<int> refusals{0};
  std::atomic<bool> hasRefused{false};

  void Set(int newAllowed, int refused) {
    hasRefused = false;
    refusals = refused;
    asked = 0;
    allowed = newAllowed;
  }
};

inline constexpr int kEveryTime = 1 << 30;

/// The calling thread's limit, null for none.
inline thread_local MemoryLimit* t_memoryLimit = nullptr;

/// A limit of the calling thread, for a scope; none lifts it, for what a test does inside the
/// product's calls.
struct LimitedMemory {
  explicit LimitedMemory(MemoryLimit* limit = nullptr)
      : before(std::exchange(t_memoryLimit, limit)) {}
  ~LimitedMemory() { t_memoryLimit = before; }

  MemoryLimit* const before;
};

/// Makes a call within a limit.
auto Within(MemoryLimit& limit, auto call) {
  const LimitedMemory limited(&limit);
  return call();
}

using PlentyOfMemory = LimitedMemory;

}  // namespace tlk::test
