#pragma once

#include <functional>
#include <mutex>

#include "platform/Export.h"

namespace tlk {

// What a process needs that forks, and whose child goes on using this library. Where a system knows
// no fork, these are a plain mutex and a step that nobody ever calls.

/// A mutex of something that a forked child goes on using. The thread that forks holds all of them
/// in that moment, so the child finds each one free, and what it guards whole. Who holds one may
/// take another, but neither make nor destroy one.
class TLKC2_API ForkMutex : public std::mutex {
 public:
  ForkMutex();
  ~ForkMutex();
  ForkMutex(const ForkMutex&) = delete;
  ForkMutex& operator=(const ForkMutex&) = delete;
};

/// Calls `step` in each forked child before `fork` returns there, on the one thread that the child
/// has, and in the order in which these objects were made. It must not throw, and must neither make
/// nor end objects like this one.
class TLKC2_API InForkedChild {
 public:
  /// From now on, and as long as this object lives.
  explicit InForkedChild(std::function<void()> step);
  ~InForkedChild();
  InForkedChild(const InForkedChild&) = delete;
  InForkedChild& operator=(const InForkedChild&) = delete;

  /// Calls the step, as the child does.
  void Call() const noexcept { m_step(); }

 private:
  const std::function<void()> m_step;
};

}  // namespace tlk
