#pragma once

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <utility>
#include <vector>

#include "tests/scripted/Eventually.h"

namespace tlk::test {

/// Starts a thread and waits until so many wait for the semaphore or lock.
[[nodiscard]] auto StartWaiter(const auto& lock, int waiters, auto work) {
  auto result = std::async(std::launch::async, std::move(work));
  EXPECT_TRUE(Eventually([&] { return lock.Waiters() == waiters; }));
  return result;
}

/// What the work gives on a thread of its own.
auto Elsewhere(const auto& work) { return std::async(std::launch::async, work).get(); }

/// Runs the work on so many threads, which it tells their numbers, and waits for their ends.
void RunOnThreads(int count, const auto& work) {
  std::vector<std::jthread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int n = 0; n < count; ++n) threads.emplace_back(work, n);
}

}  // namespace tlk::test
