#pragma once

#include <chrono>
#include <thread>

namespace tlk::test {

/// Waits for a condition; false when it has not come true within ten seconds.
[[nodiscard]] bool Eventually(const auto& condition) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  return true;
}

}  // namespace tlk::test
