// What every platform's mutexes hold to, with and without a name.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"

namespace tlk {
namespace {

constexpr int kErrorNotFound = 2;
constexpr int kErrorNotOwner = 288;

Synchronisation& System() { return SystemPlatform().synchronisation; }

void OnAnotherThread(const std::function<void()>& work) { std::thread(work).join(); }

WaitResult WaitOnAnotherThread(SystemMutex& mutex, std::uint32_t milliseconds) {
  WaitResult result = WaitResult::kFailed;
  OnAnotherThread([&] {
    result = mutex.Wait(milliseconds);
    if (result == WaitResult::kSignalled) {
      EXPECT_TRUE(mutex.Release());
    }
  });
  return result;
}

/// A name that no other run of this test uses.
std::string UniqueName(const std::string& name) {
  return name + std::to_string(System().CurrentThreadId());
}

using Maker = std::unique_ptr<SystemMutex> (*)();

class MutexContract : public testing::TestWithParam<Maker> {
 protected:
  const std::unique_ptr<SystemMutex> m_mutex = GetParam()();
};

TEST_P(MutexContract, LetsOnlyItsOwnerInUntilReleasedAsOftenAsTaken) {
  EXPECT_EQ(m_mutex->Wait(kNoLimit), WaitResult::kSignalled);
  EXPECT_EQ(m_mutex->Wait(0), WaitResult::kSignalled);
  EXPECT_EQ(m_mutex->Wait(10), WaitResult::kSignalled);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(WaitOnAnotherThread(*m_mutex, 0), WaitResult::kTimedOut);
    EXPECT_TRUE(m_mutex->Release());
  }
  EXPECT_EQ(WaitOnAnotherThread(*m_mutex, 0), WaitResult::kSignalled);
}

TEST_P(MutexContract, WaitsForItsOwnerNoLongerThanAsked) {
  ASSERT_EQ(m_mutex->Wait(kNoLimit), WaitResult::kSignalled);
  EXPECT_EQ(WaitOnAnotherThread(*m_mutex, 20), WaitResult::kTimedOut);
  std::thread waiter([&] { EXPECT_EQ(m_mutex->Wait(60'000), WaitResult::kSignalled); });
  EXPECT_TRUE(m_mutex->Release());
  waiter.join();
}

TEST_P(MutexContract, IsReleasedByItsOwnerOnly) {
  EXPECT_FALSE(m_mutex->Release());
  EXPECT_EQ(System().LastError(), kErrorNotOwner);
  ASSERT_EQ(m_mutex->Wait(kNoLimit), WaitResult::kSignalled);
  OnAnotherThread([&] {
    EXPECT_EQ(System().LastError(), 0);
    EXPECT_FALSE(m_mutex->Release());
    EXPECT_EQ(System().LastError(), kErrorNotOwner);
  });
  EXPECT_TRUE(m_mutex->Release());
}

TEST_P(MutexContract, TellsTheNextOneWhenItsOwnerHasEnded) {
  for (const std::uint32_t limit : {std::uint32_t{0}, kNoLimit}) {
    OnAnotherThread([&] {
      ASSERT_EQ(m_mutex->Wait(kNoLimit), WaitResult::kSignalled);
      ASSERT_EQ(m_mutex->Wait(kNoLimit), WaitResult::kSignalled);
    });
    EXPECT_EQ(m_mutex->Wait(limit), WaitResult::kAbandoned);
    EXPECT_TRUE(m_mutex->Release());
    EXPECT_FALSE(m_mutex->Release());
    EXPECT_EQ(WaitOnAnotherThread(*m_mutex, 0), WaitResult::kSignalled);
  }
}

TEST_P(MutexContract, GuardsWhatSeveralThreadsChange) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 2'000;
  int counter = 0;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < kRounds; ++n) {
        ASSERT_EQ(m_mutex->Wait(kNoLimit), WaitResult::kSignalled);
        ++counter;
        ASSERT_TRUE(m_mutex->Release());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter, kThreads * kRounds);
}

// Freed under the thread that held it, the mutex used to be written to when that thread ended.
TEST_P(MutexContract, MayBeDestroyedWhileItIsHeld) {
  std::unique_ptr<SystemMutex> doomed = GetParam()();
  const std::unique_ptr<SystemEvent> isHeld = System().NewEvent(ResetMode::kAutomatic, false);
  const std::unique_ptr<SystemEvent> isGone = System().NewEvent(ResetMode::kAutomatic, false);
  std::thread owner([&, held = doomed.get()] {
    ASSERT_EQ(held->Wait(kNoLimit), WaitResult::kSignalled);
    isHeld->Set();
    ASSERT_EQ(isGone->Wait(kNoLimit), WaitResult::kSignalled);
    const std::unique_ptr<SystemMutex> another = System().NewMutex();
    EXPECT_EQ(another->Wait(0), WaitResult::kSignalled);
    EXPECT_TRUE(another->Release());
  });
  ASSERT_EQ(isHeld->Wait(kNoLimit), WaitResult::kSignalled);
  doomed.reset();
  isGone->Set();
  owner.join();

  const std::unique_ptr<SystemMutex> mine = GetParam()();
  ASSERT_EQ(mine->Wait(0), WaitResult::kSignalled);
}

INSTANTIATE_TEST_SUITE_P(WithoutName, MutexContract,
                         testing::Values(+[] { return System().NewMutex(); }));

INSTANTIATE_TEST_SUITE_P(WithName, MutexContract, testing::Values(+[] {
                           static int number = 0;
                           const std::string name = "contract" + std::to_string(++number) + ".";
                           return System().NewNamedMutex(UniqueName(name).c_str());
                         }));

class NamedMutexContract : public testing::TestWithParam<const char*> {};

TEST_P(NamedMutexContract, LivesAsLongAsSomebodyHasItOpen) {
  const std::string name = UniqueName(GetParam());
  EXPECT_EQ(System().OpenNamedMutex(name.c_str()), nullptr);
  EXPECT_EQ(System().LastError(), kErrorNotFound);

  std::unique_ptr<SystemMutex> maker = System().NewNamedMutex(name.c_str());
  ASSERT_NE(maker, nullptr);
  ASSERT_EQ(maker->Wait(0), WaitResult::kSignalled);
  std::unique_ptr<SystemMutex> opener = System().OpenNamedMutex(name.c_str());
  std::unique_ptr<SystemMutex> secondMaker = System().NewNamedMutex(name.c_str());
  ASSERT_NE(opener, nullptr);
  ASSERT_NE(secondMaker, nullptr);
  maker.reset();
  EXPECT_EQ(WaitOnAnotherThread(*secondMaker, 0), WaitResult::kTimedOut);
  EXPECT_TRUE(opener->Release());
  EXPECT_EQ(WaitOnAnotherThread(*secondMaker, 0), WaitResult::kSignalled);

  opener.reset();
  secondMaker.reset();
  EXPECT_EQ(System().OpenNamedMutex(name.c_str()), nullptr);
  EXPECT_EQ(System().LastError(), kErrorNotFound);
}

INSTANTIATE_TEST_SUITE_P(Names, NamedMutexContract,
                         testing::Values("plain", "Local\\with separator", "with blanks, and = %41",
                                         ".", "..", "\xE4\xFF\x01"));

TEST(NamedMutexNames, HeedLetterCase) {
  const std::unique_ptr<SystemMutex> lower = System().NewNamedMutex(UniqueName("letter").c_str());
  ASSERT_NE(lower, nullptr);
  EXPECT_EQ(System().OpenNamedMutex(UniqueName("LETTER").c_str()), nullptr);
}

}  // namespace
}  // namespace tlk
