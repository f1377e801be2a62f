// What every platform's events hold to.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"

namespace tlk {
namespace {

/// A limit for waits that end by themselves unless something is wrong.
constexpr std::uint32_t kLongEnough = 30'000;

Synchronisation& System() { return SystemPlatform().synchronisation; }

std::unique_ptr<SystemEvent> NewEvent(ResetMode mode, bool isSignalled = false) {
  return System().NewEvent(mode, isSignalled);
}

TEST(EventContract, AutomaticLetsOneGoForAllSetsBefore) {
  const auto event = NewEvent(ResetMode::kAutomatic, true);
  EXPECT_EQ(event->Wait(kNoLimit), WaitResult::kSignalled);
  EXPECT_EQ(event->Wait(0), WaitResult::kTimedOut);
  event->Set();
  event->Set();
  EXPECT_EQ(event->Wait(10), WaitResult::kSignalled);
  EXPECT_EQ(event->Wait(10), WaitResult::kTimedOut);
  event->Set();
  event->Reset();
  EXPECT_EQ(event->Wait(0), WaitResult::kTimedOut);
}

TEST(EventContract, ManualLetsEverybodyGoUntilReset) {
  const auto event = NewEvent(ResetMode::kManual, true);
  EXPECT_EQ(event->Wait(kNoLimit), WaitResult::kSignalled);
  EXPECT_EQ(event->Wait(0), WaitResult::kSignalled);
  event->Reset();
  EXPECT_EQ(event->Wait(10), WaitResult::kTimedOut);
  event->Set();
  EXPECT_EQ(event->Wait(0), WaitResult::kSignalled);
}

TEST(EventContract, LooksAtTheFirstOfTwoFirst) {
  const auto first = NewEvent(ResetMode::kAutomatic, true);
  const auto second = NewEvent(ResetMode::kAutomatic, true);
  EXPECT_EQ(System().WaitEither(*first, *second, kNoLimit), WaitResult::kSignalled);
  EXPECT_EQ(System().WaitEither(*first, *second, kNoLimit), WaitResult::kSecondSignalled);
  EXPECT_EQ(System().WaitEither(*first, *second, 0), WaitResult::kTimedOut);
  EXPECT_EQ(System().WaitEither(*first, *second, 10), WaitResult::kTimedOut);
  second->Set();
  EXPECT_EQ(System().WaitEither(*first, *second, 0), WaitResult::kSecondSignalled);
}

TEST(EventContract, WaitsAtLeastAsLongAsAsked) {
  const auto event = NewEvent(ResetMode::kAutomatic);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(event->Wait(50), WaitResult::kTimedOut);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(49));
}

// Whether a thread already sleeps when the gate opens is a matter of luck; in so many rounds most
// do.
TEST(EventContract, ManualWakesEverySleeper) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 300;
  const auto never = NewEvent(ResetMode::kManual);
  const std::array gates{NewEvent(ResetMode::kManual), NewEvent(ResetMode::kManual)};
  std::atomic<int> arrived = 0;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, isEither = thread % 2 == 0] {
      for (size_t round = 0; round < kRounds; ++round) {
        SystemEvent& gate = *gates[round % gates.size()];
        ++arrived;
        if (isEither) {
          ASSERT_EQ(System().WaitEither(*never, gate, kLongEnough), WaitResult::kSecondSignalled);
        } else {
          ASSERT_EQ(gate.Wait(kLongEnough), WaitResult::kSignalled);
        }
      }
    });
  }
  for (int round = 0; round < kRounds; ++round) {
    while (arrived < (round + 1) * kThreads) std::this_thread::yield();
    gates[static_cast<size_t>(round + 1) % gates.size()]->Reset();
    gates[static_cast<size_t>(round) % gates.size()]->Set();
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(EventContract, HandsABallToAndFro) {
  constexpr int kRounds = 20'000;
  const auto ping = NewEvent(ResetMode::kAutomatic);
  const auto pong = NewEvent(ResetMode::kAutomatic);
  int ball = 0;
  std::thread other([&] {
    for (int i = 0; i < kRounds; ++i) {
      ASSERT_EQ(ping->Wait(kLongEnough), WaitResult::kSignalled);
      ++ball;
      pong->Set();
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    ++ball;
    ping->Set();
    ASSERT_EQ(pong->Wait(kLongEnough), WaitResult::kSignalled);
  }
  other.join();
  EXPECT_EQ(ball, 2 * kRounds);
}

/// Two signals, each of them the right to change a number, which goes round among many threads. A
/// signal that is lost, or that wakes nobody, leaves a thread asleep.
TEST(EventContract, LosesNoSignalAmongManyThreads) {
  constexpr int kThreads = 6;
  constexpr int kRounds = 5'000;
  const auto left = NewEvent(ResetMode::kAutomatic, true);
  const auto right = NewEvent(ResetMode::kAutomatic, true);
  int leftCount = 0;
  int rightCount = 0;
  const auto takeTurn = [&](int thread, int round) {
    // Now and then somebody is impatient, and leaves while he may be being woken.
    const std::uint32_t limit = (thread + round) % 5 == 0 ? 1 : kLongEnough;
    WaitResult result = WaitResult::kTimedOut;
    do {
      result = thread % 3 == 0 ? left->Wait(limit) : System().WaitEither(*left, *right, limit);
    } while (result == WaitResult::kTimedOut && limit == 1);
    ASSERT_NE(result, WaitResult::kTimedOut);
    const bool isLeft = result == WaitResult::kSignalled;
    ++(isLeft ? leftCount : rightCount);
    (isLeft ? left : right)->Set();
  };
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (int round = 0; round < kRounds; ++round) takeTurn(thread, round);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(leftCount + rightCount, kThreads * kRounds);
}

// The setter used to look at the event once more after it had let the waiter go.
TEST(EventContract, MayBeDestroyedByTheWaiterThatItLetGo) {
  constexpr int kRounds = 2'000;
  std::atomic<SystemEvent*> current = nullptr;
  std::thread setter([&] {
    for (int i = 0; i < kRounds; ++i) {
      SystemEvent* event = nullptr;
      while ((event = current.exchange(nullptr)) == nullptr) std::this_thread::yield();
      event->Set();
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    const auto event = NewEvent(i % 2 == 0 ? ResetMode::kAutomatic : ResetMode::kManual);
    current = event.get();
    ASSERT_EQ(event->Wait(kNoLimit), WaitResult::kSignalled);
  }
  setter.join();
}

}  // namespace
}  // namespace tlk
