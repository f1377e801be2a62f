// What every platform's events hold to.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"

namespace tlk {
namespace {

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

TEST(EventContract, ManualWakesEverySleeper) {
  const auto event = NewEvent(ResetMode::kManual);
  const auto other = NewEvent(ResetMode::kManual);
  std::vector<std::thread> sleepers;
  for (int i = 0; i < 3; ++i) {
    sleepers.emplace_back([&] { EXPECT_EQ(event->Wait(kNoLimit), WaitResult::kSignalled); });
    sleepers.emplace_back([&] {
      EXPECT_EQ(System().WaitEither(*other, *event, kNoLimit), WaitResult::kSecondSignalled);
    });
  }
  event->Set();
  for (std::thread& sleeper : sleepers) sleeper.join();
}

TEST(EventContract, HandsABallToAndFro) {
  constexpr int kRounds = 20'000;
  const auto ping = NewEvent(ResetMode::kAutomatic);
  const auto pong = NewEvent(ResetMode::kAutomatic);
  int ball = 0;
  std::thread other([&] {
    for (int i = 0; i < kRounds; ++i) {
      ASSERT_EQ(ping->Wait(kNoLimit), WaitResult::kSignalled);
      ++ball;
      pong->Set();
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    ++ball;
    ping->Set();
    ASSERT_EQ(pong->Wait(kNoLimit), WaitResult::kSignalled);
  }
  other.join();
  EXPECT_EQ(ball, 2 * kRounds);
}

/// Threads that hand each other signals: each signal that is set is one that somebody must take,
/// because the setter waits for the answer to it. A wake-up that is lost stops the whole of it.
TEST(EventContract, LosesNoWakeUpAmongManyThreads) {
  constexpr int kPairs = 4;
  constexpr int kRounds = 3'000;
  const auto request = NewEvent(ResetMode::kAutomatic);
  const auto urgent = NewEvent(ResetMode::kAutomatic);
  const auto stop = NewEvent(ResetMode::kManual);
  std::atomic<int> wanted = 0;
  std::atomic<int> served = 0;
  const auto serve = [&] {
    for (int open = wanted; open > 0; open = wanted)
      if (wanted.compare_exchange_strong(open, open - 1)) ++served;
  };
  std::vector<std::thread> servers;
  for (int i = 0; i < kPairs; ++i) {
    servers.emplace_back([&, limit = i % 2 == 0 ? kNoLimit : 1U] {
      while (stop->Wait(0) == WaitResult::kTimedOut) {
        static_cast<void>(System().WaitEither(*urgent, *request, limit));
        serve();
      }
    });
  }
  std::vector<std::thread> clients;
  for (int i = 0; i < kPairs; ++i) {
    clients.emplace_back([&, i] {
      for (int n = 0; n < kRounds; ++n) {
        ++wanted;
        ((n + i) % 3 == 0 ? urgent : request)->Set();
      }
    });
  }
  for (std::thread& client : clients) client.join();
  while (served < kPairs * kRounds) std::this_thread::yield();
  stop->Set();
  // One signal ends one server, so each server needs its own.
  std::atomic<bool> isOver = false;
  std::thread waker([&] {
    while (!isOver) {
      request->Set();
      std::this_thread::yield();
    }
  });
  for (std::thread& server : servers) server.join();
  isOver = true;
  waker.join();
  EXPECT_EQ(served, kPairs * kRounds);
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
