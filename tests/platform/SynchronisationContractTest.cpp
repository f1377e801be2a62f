// What every platform's events, mutexes and threads hold to.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"
#include "tests/thread/Waiting.h"

namespace tlk::test {

using enum ResetMode;
using enum WaitResult;

/// A limit for waits that end by themselves unless something is wrong.
constexpr std::uint32_t kLongEnough = 30'000;

Synchronisation& System() { return SystemPlatform().synchronisation; }

std::unique_ptr<SystemEvent> NewEvent(ResetMode mode, bool isSignalled = false) {
  return System().NewEvent(mode, isSignalled);
}

TEST(EventContract, LetsOneGoOrEverybodyUntilItIsReset) {
  for (const auto& [mode, secondWait] : {std::pair(kAutomatic, kTimedOut), {kManual, kSignalled}}) {
    const auto event = NewEvent(mode, true);
    for (const std::uint32_t limit : {kNoLimit, 10U, 0U}) {
      EXPECT_EQ(event->Wait(limit), kSignalled);
      EXPECT_EQ(event->Wait(1), secondWait);
      for (int i = 0; i < 2; ++i) event->Set();
    }
    event->Reset();
    EXPECT_EQ(event->Wait(10), kTimedOut);
  }
}

TEST(EventContract, LooksAtTheFirstOfTwoFirst) {
  const auto first = NewEvent(kAutomatic, true);
  const auto second = NewEvent(kAutomatic, true);
  for (const auto result : {kSignalled, kSecondSignalled, kTimedOut})
    EXPECT_EQ(System().WaitEither(*first, *second, 10), result);
}

/// Two signals, each of them the right to count, go round among many threads. One that is lost, or
/// that wakes nobody, leaves a thread asleep.
TEST(EventContract, LosesNoSignalAmongManyThreads) {
  const std::array events{NewEvent(kAutomatic, true), NewEvent(kAutomatic, true)};
  std::array<int, 2> counts{};
  RunOnThreads(6, [&](int thread) {
    for (int round = 0; round < 5'000; ++round) {
      // Now and then somebody is impatient, and leaves while he may be being woken.
      const std::uint32_t limit = (thread + round) % 5 == 0 ? 1 : kLongEnough;
      auto result = kTimedOut;
      do {
        result = thread % 3 == 0 ? events[0]->Wait(limit)
                                 : System().WaitEither(*events[0], *events[1], limit);
      } while (result == kTimedOut && limit == 1);
      ASSERT_NE(result, kTimedOut);
      ++counts.at(static_cast<size_t>(result));
      events.at(static_cast<size_t>(result))->Set();
    }
  });
  EXPECT_EQ(counts[0] + counts[1], 6 * 5'000);
}

/// A name that no other run of this test uses.
std::string UniqueName(const std::string& name) {
  return name + std::to_string(System().CurrentThreadId());
}

struct MutexContract : testing::TestWithParam<bool> {
  std::unique_ptr<SystemMutex> m_mutex =
      GetParam() ? System().NewNamedMutex(UniqueName("contract").c_str()) : System().NewMutex();
};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutName, MutexContract, testing::Bool());

TEST_P(MutexContract, IsItsOwnersUntilReleasedAsOftenAsTaken) {
  for (const std::uint32_t limit : {kNoLimit, 0U}) EXPECT_EQ(m_mutex->Wait(limit), kSignalled);
  for (const std::uint32_t limit : {0U, 520U}) {
    RunOnThreads(1, [&](int) {
      const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit);
      EXPECT_EQ(m_mutex->Wait(limit), kTimedOut);
      EXPECT_GE(std::chrono::steady_clock::now() + std::chrono::milliseconds(16), end);
      EXPECT_FALSE(m_mutex->Release());
      EXPECT_EQ(System().LastError(), 288) << "not the owner";
    });
    EXPECT_TRUE(m_mutex->Release());
  }
  EXPECT_FALSE(m_mutex->Release());
}

TEST_P(MutexContract, TellsTheNextOneOnceItsOwnerHasEnded) {
  for (const std::uint32_t limit : {0U, kNoLimit, 10'000U}) {
    const auto owner = System().NewThread([&] {
      for (int hold = 0; hold < 2; ++hold) EXPECT_EQ(m_mutex->Wait(kNoLimit), kSignalled);
    });
    owner->Resume();
    ASSERT_EQ(owner->Wait(kNoLimit), kSignalled);
    ASSERT_EQ(m_mutex->Wait(limit), kAbandoned);
    ASSERT_TRUE(m_mutex->Release());
    ASSERT_FALSE(m_mutex->Release());
  }
}

// Freed under the thread that held it, the mutex used to be written to when that thread ended.
TEST_P(MutexContract, MayBeDestroyedWhileItIsHeld) {
  const auto another = System().NewMutex();
  RunOnThreads(1, [&](int) {
    ASSERT_EQ(m_mutex->Wait(0), kSignalled);
    RunOnThreads(1, [&](int) { m_mutex.reset(); });
    EXPECT_EQ(another->Wait(0), kSignalled);
    EXPECT_TRUE(another->Release());
  });
}

TEST(NamedMutexContract, LivesAsLongAsSomebodyHasItOpen) {
  for (const char* const each :
       {"plain", "Local\\with separator", "with blanks, and = %41", ".", "..", "\xE4\xFF\x01"}) {
    const std::string name = UniqueName(each);
    std::vector<std::unique_ptr<SystemMutex>> opened;
    opened.push_back(System().NewNamedMutex(name.c_str()));
    ASSERT_EQ(opened.back()->Wait(0), kSignalled);
    opened.push_back(System().OpenNamedMutex(name.c_str()));
    opened.push_back(System().NewNamedMutex(name.c_str()));
    EXPECT_EQ(System().OpenNamedMutex(UniqueName("PLAIN").c_str()), nullptr) << "case counts";
    opened.erase(opened.begin());
    RunOnThreads(1, [&](int) { EXPECT_EQ(opened[0]->Wait(0), kTimedOut); });
    EXPECT_TRUE(opened[1]->Release());
    opened.clear();
    EXPECT_EQ(System().OpenNamedMutex(name.c_str()), nullptr);
    EXPECT_EQ(System().LastError(), 2) << "not found";
  }
}

TEST(ThreadContract, RunsItsWorkOnceItIsResumed) {
  const auto mayEnd = NewEvent(kAutomatic);
  const auto runs = std::make_shared<std::atomic<std::uint32_t>>();
  const auto newThread = [&] {
    return System().NewThread([&mayEnd, runs] {
      *runs += System().CurrentThreadId();
      EXPECT_EQ(mayEnd->Wait(kLongEnough), kSignalled);
    });
  };
  newThread().reset();
  EXPECT_EQ(runs.use_count(), 1);
  const auto thread = newThread();
  EXPECT_EQ(thread->Wait(30), kTimedOut);
  EXPECT_EQ(*runs, 0U);
  thread->Resume();
  EXPECT_EQ(thread->Wait(30), kTimedOut);
  mayEnd->Set();
  for (const std::uint32_t limit : {kNoLimit, 0U}) EXPECT_EQ(thread->Wait(limit), kSignalled);
  EXPECT_EQ(*runs, thread->Id());
  EXPECT_NE(thread->Id(), System().CurrentThreadId());
}

TEST(ThreadContract, IsOpenedByItselfWhoeverMadeIt) {
  std::unique_ptr<SystemThread> opened;
  RunOnThreads(1, [&](int) {
    opened = System().OpenCurrentThread();
    EXPECT_EQ(opened->Id(), System().CurrentThreadId());
    EXPECT_EQ(opened->Wait(10), kTimedOut);
  });
  EXPECT_EQ(opened->Wait(kLongEnough), kSignalled);
}

TEST(ThreadSlotContract, IsEmptyAtFirstForEachThreadAndRunsOut) {
  const auto slot = System().NewThreadSlot();
  EXPECT_EQ(slot->Get(), nullptr);
  slot->Set(slot.get());
  RunOnThreads(1, [&](int number) {
    EXPECT_EQ(slot->Get(), nullptr);
    slot->Set(&number);
  });
  EXPECT_EQ(slot->Get(), slot.get());
  std::vector<std::unique_ptr<ThreadSlot>> slots;
  while (auto another = System().NewThreadSlot()) slots.push_back(std::move(another));
  EXPECT_GT(slots.size(), 100U);
  EXPECT_NE(System().LastError(), 0);
}

}  // namespace tlk::test
