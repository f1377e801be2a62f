#pragma once

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <utility>
#include <vector>

#include "tests/scripted/Eventually.h"

namespace tlk::test {

/// Starts a thread and waits until so many wait for the semaphore or lock.
template <typename Lock, typename Work>
[[nodiscard]] auto StartWaiter(const Lock& lock, int waiters, Work work) {
  auto result = std::async(std::launch::async, std::move(work));
  EXPECT_TRUE(Eventually([&] { return lock.Waiters() == waiters; }));
  return result;
}

/// What the work gives on a thread of its own.
template <typename Work>
auto Elsewhere(const Work& work) {
  return std::async(std::launch::async, work).get();
}

/// Runs the work on so many threads, which it tells their numbers, and waits for their ends.
template <typename Work>
void RunOnThreads(int count, const Work& work) {
  std::vector<std::jthread> threads;
  for (int n = 0; n < count; ++n) threads.emplace_back(work, n);
}

}  // namespace tlk::test
