// What every platform's events, mutexes and threads hold to.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"

namespace tlk {
namespace {

constexpr auto kSignalled = WaitResult::kSignalled;
constexpr auto kTimedOut = WaitResult::kTimedOut;

/// A limit for waits that end by themselves unless something is wrong.
constexpr std::uint32_t kLongEnough = 30'000;

Synchronisation& System() { return SystemPlatform().synchronisation; }

std::unique_ptr<SystemEvent> NewEvent(ResetMode mode, bool isSignalled = false) {
  return System().NewEvent(mode, isSignalled);
}

/// Runs `work` on so many threads at once, which have numbers from 0, until all have ended.
void OnThreads(int count, const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  threads.reserve(static_cast<size_t>(count));
  for (int number = 0; number < count; ++number) threads.emplace_back(work, number);
  for (std::thread& thread : threads) thread.join();
}

TEST(EventContract, LetsOneGoOrEverybodyUntilItIsReset) {
  for (const auto& [mode, secondWait] :
       {std::pair(ResetMode::kAutomatic, kTimedOut), std::pair(ResetMode::kManual, kSignalled)}) {
    const auto event = NewEvent(mode, true);
    EXPECT_EQ(event->Wait(kNoLimit), kSignalled);
    EXPECT_EQ(event->Wait(10), secondWait);
    event->Set();
    event->Set();
    EXPECT_EQ(event->Wait(10), kSignalled);
    EXPECT_EQ(event->Wait(0), secondWait);
    event->Set();
    event->Reset();
    EXPECT_EQ(event->Wait(10), kTimedOut);
  }
}

TEST(EventContract, LooksAtTheFirstOfTwoFirst) {
  const auto first = NewEvent(ResetMode::kAutomatic, true);
  const auto second = NewEvent(ResetMode::kAutomatic, true);
  EXPECT_EQ(System().WaitEither(*first, *second, kNoLimit), kSignalled);
  EXPECT_EQ(System().WaitEither(*first, *second, kNoLimit), WaitResult::kSecondSignalled);
  EXPECT_EQ(System().WaitEither(*first, *second, 10), kTimedOut);
}

// Whether a thread already sleeps when the gate opens is a matter of luck; in so many rounds most
// do.
TEST(EventContract, ManualWakesEverySleeper) {
  constexpr int kSleepers = 4;
  for (int round = 0; round < 100; ++round) {
    const auto never = NewEvent(ResetMode::kManual);
    const auto gate = NewEvent(ResetMode::kManual);
    OnThreads(kSleepers + 1, [&](int thread) {
      if (thread == kSleepers) return gate->Set();
      EXPECT_EQ(thread % 2 == 0 ? System().WaitEither(*gate, *never, kLongEnough)
                                : gate->Wait(kLongEnough),
                kSignalled);
    });
  }
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
  OnThreads(kThreads, [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      // Now and then somebody is impatient, and leaves while he may be being woken.
      const std::uint32_t limit = (thread + round) % 5 == 0 ? 1 : kLongEnough;
      WaitResult result = kTimedOut;
      do {
        result = thread % 3 == 0 ? left->Wait(limit) : System().WaitEither(*left, *right, limit);
      } while (result == kTimedOut && limit == 1);
      ASSERT_NE(result, kTimedOut);
      ++(result == kSignalled ? leftCount : rightCount);
      (result == kSignalled ? left : right)->Set();
    }
  });
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
    ASSERT_EQ(event->Wait(kNoLimit), kSignalled);
  }
  setter.join();
}

/// What the signals of a round between two threads cost, of which at least one sleeps: the middle
/// one of many times.
std::chrono::nanoseconds TimeOfWaking() {
  using Clock = std::chrono::steady_clock;
  std::array<std::array<Clock::duration, 2>, 301> times{};
  const std::array events{NewEvent(ResetMode::kAutomatic, true), NewEvent(ResetMode::kAutomatic)};
  OnThreads(2, [&](int thread) {
    for (auto& time : times) {
      EXPECT_EQ(events.at(static_cast<size_t>(thread))->Wait(kLongEnough), kSignalled);
      const auto start = Clock::now();
      events.at(static_cast<size_t>(1 - thread))->Set();
      time.at(static_cast<size_t>(thread)) = Clock::now() - start;
    }
  });
  std::ranges::sort(times, {}, [](const auto& time) { return time[0] + time[1]; });
  return times[times.size() / 2][0] + times[times.size() / 2][1];
}

// A setter used to look at everybody asleep in the process.
TEST(EventContract, WakesAtACostThatDoesNotGrowWithThoseAsleepOnOthers) {
  constexpr int kOthers = 800;
  const auto others = NewEvent(ResetMode::kManual);
  const auto longest = [] { return std::max({TimeOfWaking(), TimeOfWaking(), TimeOfWaking()}); };
  const auto shortest = [] { return std::min({TimeOfWaking(), TimeOfWaking(), TimeOfWaking()}); };
  const auto alone = longest();
  auto beside = alone;
  OnThreads(kOthers + 1, [&](int thread) {
    if (thread < kOthers) return static_cast<void>(others->Wait(kLongEnough));
    beside = shortest();
    others->Set();
  });
  EXPECT_LT(beside, 4 * alone);
}

constexpr int kErrorNotFound = 2;
constexpr int kErrorNotOwner = 288;

/// A name that no other run of this test uses.
std::string UniqueName(const std::string& name) {
  return name + std::to_string(System().CurrentThreadId());
}

using Maker = std::unique_ptr<SystemMutex> (*)();

class MutexContract : public testing::TestWithParam<Maker> {
 protected:
  const std::unique_ptr<SystemMutex> m_mutex = GetParam()();
};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutName, MutexContract,
                         testing::Values(
                             +[] { return System().NewMutex(); },
                             +[] {
                               static int number = 0;
                               const std::string name = "contract" + std::to_string(++number) + ".";
                               return System().NewNamedMutex(UniqueName(name).c_str());
                             }));

TEST_P(MutexContract, IsItsOwnersUntilReleasedAsOftenAsTaken) {
  for (const std::uint32_t limit : {kNoLimit, 0U}) EXPECT_EQ(m_mutex->Wait(limit), kSignalled);
  for (int hold = 0; hold < 2; ++hold) {
    OnThreads(1, [&](int) {
      EXPECT_EQ(m_mutex->Wait(0), kTimedOut);
      EXPECT_EQ(m_mutex->Wait(10), kTimedOut);
      EXPECT_FALSE(m_mutex->Release());
      EXPECT_EQ(System().LastError(), kErrorNotOwner);
    });
    EXPECT_TRUE(m_mutex->Release());
  }
  EXPECT_FALSE(m_mutex->Release());
  OnThreads(1, [&](int) {
    EXPECT_EQ(m_mutex->Wait(0), kSignalled);
    EXPECT_TRUE(m_mutex->Release());
  });
}

TEST_P(MutexContract, TellsTheNextOneOnceItsOwnerHasEnded) {
  for (int round = 0; round < 50; ++round) {
    const auto owner = System().NewThread([&] {
      EXPECT_EQ(m_mutex->Wait(kNoLimit), kSignalled);
      EXPECT_EQ(m_mutex->Wait(kNoLimit), kSignalled);
    });
    owner->Resume();
    ASSERT_EQ(owner->Wait(kNoLimit), kSignalled);
    ASSERT_EQ(m_mutex->Wait(round % 2 == 0 ? 0 : kNoLimit), WaitResult::kAbandoned);
    ASSERT_TRUE(m_mutex->Release());
    ASSERT_FALSE(m_mutex->Release());
  }
}

// Freed under the thread that held it, the mutex used to be written to when that thread ended.
TEST_P(MutexContract, MayBeDestroyedWhileItIsHeld) {
  std::unique_ptr<SystemMutex> doomed = GetParam()();
  OnThreads(1, [&](int) {
    ASSERT_EQ(doomed->Wait(kNoLimit), kSignalled);
    OnThreads(1, [&](int) { doomed.reset(); });
    EXPECT_EQ(m_mutex->Wait(0), kSignalled);
    EXPECT_TRUE(m_mutex->Release());
  });
}

class NamedMutexContract : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Names, NamedMutexContract,
                         testing::Values("plain", "Local\\with separator", "with blanks, and = %41",
                                         ".", "..", "\xE4\xFF\x01"));

TEST_P(NamedMutexContract, LivesAsLongAsSomebodyHasItOpen) {
  const std::string name = UniqueName(GetParam());
  std::unique_ptr<SystemMutex> maker = System().NewNamedMutex(name.c_str());
  ASSERT_NE(maker, nullptr);
  ASSERT_EQ(maker->Wait(0), kSignalled);
  std::unique_ptr<SystemMutex> opener = System().OpenNamedMutex(name.c_str());
  std::unique_ptr<SystemMutex> secondMaker = System().NewNamedMutex(name.c_str());
  ASSERT_NE(opener, nullptr);
  ASSERT_NE(secondMaker, nullptr);
  EXPECT_EQ(System().OpenNamedMutex(UniqueName("PLAIN").c_str()), nullptr) << "case counts";
  maker.reset();
  OnThreads(1, [&](int) { EXPECT_EQ(secondMaker->Wait(0), kTimedOut); });
  EXPECT_TRUE(opener->Release());

  opener.reset();
  secondMaker.reset();
  EXPECT_EQ(System().OpenNamedMutex(name.c_str()), nullptr);
  EXPECT_EQ(System().LastError(), kErrorNotFound);
}

TEST(ThreadContract, RunsItsWorkOnlyAndAlwaysOnceItIsResumed) {
  const auto mayEnd = NewEvent(ResetMode::kAutomatic);
  const auto held = std::make_shared<std::atomic<std::uint32_t>>();
  const auto work = [&mayEnd, held] {
    *held += System().CurrentThreadId();
    EXPECT_EQ(mayEnd->Wait(kLongEnough), kSignalled);
  };
  const long owners = held.use_count();
  System().NewThread(work).reset();
  EXPECT_EQ(held.use_count(), owners);
  const auto thread = System().NewThread(work);
  EXPECT_EQ(thread->Wait(30), kTimedOut);
  EXPECT_EQ(*held, 0U);
  thread->Resume();
  mayEnd->Set();
  EXPECT_EQ(thread->Wait(kNoLimit), kSignalled);
  EXPECT_EQ(thread->Wait(0), kSignalled);
  EXPECT_EQ(*held, thread->Id());
  EXPECT_NE(thread->Id(), System().CurrentThreadId());

  const auto hasEnded = NewEvent(ResetMode::kAutomatic);
  System()
      .NewThread([&] {
        EXPECT_EQ(mayEnd->Wait(kLongEnough), kSignalled);
        hasEnded->Set();
      })
      ->Resume();
  mayEnd->Set();
  EXPECT_EQ(hasEnded->Wait(kLongEnough), kSignalled);
}

TEST(ThreadContract, IsOpenedByItselfWhoeverMadeIt) {
  std::unique_ptr<SystemThread> opened;
  OnThreads(1, [&](int) {
    opened = System().OpenCurrentThread();
    EXPECT_EQ(opened->Id(), System().CurrentThreadId());
    EXPECT_EQ(opened->Wait(10), kTimedOut);
  });
  EXPECT_EQ(opened->Wait(kLongEnough), kSignalled);
}

TEST(ThreadSlotContract, IsEmptyAtFirstForEachThread) {
  const auto slot = System().NewThreadSlot();
  EXPECT_EQ(slot->Get(), nullptr);
  slot->Set(slot.get());
  OnThreads(1, [&](int number) {
    EXPECT_EQ(slot->Get(), nullptr);
    slot->Set(&number);
  });
  EXPECT_EQ(slot->Get(), slot.get());
}

}  // namespace
}  // namespace tlk
