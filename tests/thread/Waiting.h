#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>
#include <utility>
#include <vector>

namespace tlk::test {

template <typename Condition>
void ExpectSoon(const Condition& condition) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  bool isMet = false;
  while (!isMet && std::chrono::steady_clock::now() < limit) {
    std::this_thread::yield();
    isMet = condition();
  }
  EXPECT_TRUE(isMet);
}

/// Starts a thread and waits until so many wait for the semaphore or lock.
template <typename Lock, typename Work>
[[nodiscard]] auto StartWaiter(const Lock& lock, int waiters, Work work) {
  auto result = std::async(std::launch::async, std::move(work));
  ExpectSoon([&] { return lock.Waiters() == waiters; });
  return result;
}

/// Runs the work on so many threads, which it tells their numbers, and waits for their ends.
template <typename Work>
void RunOnThreads(int count, const Work& work) {
  std::vector<std::jthread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int n = 0; n < count; ++n) threads.emplace_back(work, n);
}

}  // namespace tlk::test
