#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <random>
#include <string>
#include <thread>

#include "log/NamedMutex.h"
#include "log/QNLogger.h"
#include "log/QNManageMutex.h"
#include "tests/log/LogHarness.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;

class ManageMutex : public testing::Test {
 protected:
  // A name of this process alone.
  const std::string m_name = "tlkc2-guard-" + std::to_string(std::random_device()());
  LogHarness m_harness;
  ScriptedSynchronisation& m_sync = m_harness.synchronisation;
  std::uint32_t m_status = 77;
};

struct StatusCase {
  WaitResult waited;
  std::uint32_t status;
};

class GuardStatus : public ManageMutex, public testing::WithParamInterface<StatusCase> {};

TEST_P(GuardStatus, FollowsTheWaitInBothForms) {
  const auto mutex = m_sync.NewMutex();
  m_sync.mutexWaits.Set({GetParam().waited, GetParam().waited});
  { const QNManageMutex guard(mutex.get(), m_status, nullptr, m_harness.platform); }
  EXPECT_EQ(m_status, GetParam().status);
  m_status = 77;
  { const QNManageMutex guard(m_name.c_str(), m_status, m_harness.platform); }
  EXPECT_EQ(m_status, GetParam().status);
  EXPECT_EQ(m_sync.OpenNamedMutexes(), 0);
}

INSTANTIATE_TEST_SUITE_P(Waits, GuardStatus,
                         testing::Values(StatusCase{WaitResult::kSignalled, 0},
                                         StatusCase{WaitResult::kTimedOut, 2},
                                         StatusCase{WaitResult::kAbandoned, 3},
                                         StatusCase{WaitResult::kFailed, 0}));

TEST_F(ManageMutex, HoldsTheMutexForTheScope) {
  const auto mutex = m_sync.NewMutex();
  const auto isFree = [&mutex] {
    return std::async(std::launch::async,
                      [&mutex] {
                        const bool taken = mutex->Wait(0) == WaitResult::kSignalled;
                        return taken && mutex->Release();
                      })
        .get();
  };
  {
    QNManageMutex guard(mutex.get(), m_status, nullptr, m_harness.platform);
    EXPECT_FALSE(isFree());
    guard.Release();
    EXPECT_TRUE(isFree());
  }
  {
    const QNManageMutex guard(mutex.get(), m_status, nullptr, m_harness.platform);
    EXPECT_FALSE(isFree());
  }
  EXPECT_TRUE(isFree());
  EXPECT_THAT(m_harness.surroundings.DebugTexts(),
              ElementsAre("ERROR"));  // Of the one released early.
}

TEST_F(ManageMutex, ReportsAnEmptyHandle) {
  QNLogger log("guard.log", 0, m_harness.platform);
  log.SetConsoleEcho(false);
  { const QNManageMutex guard(nullptr, m_status, &log, m_harness.platform); }
  EXPECT_EQ(m_status, 6U);
  EXPECT_EQ(log.Flush(), 0U);
  EXPECT_THAT(m_harness.Lines("guard.log"),
              ElementsAre(EndsWith(") N NULL mutex value passed in (QNManageMutex - 59)")));
  EXPECT_THAT(m_harness.surroundings.DebugTexts(), ElementsAre("ERROR"));
}

TEST_F(ManageMutex, ReportsAFailingRelease) {
  ScriptedSynchronisation other;
  const Platform platform = m_harness.PlatformWith(other);
  const auto mutex = other.NewMutex();
  char expected[160];
  std::snprintf(expected, sizeof expected,
                ") E QNManageMutex Release() - ReleaseMutex() failed mutex:%p.  GetLastError:288"
                " (QNManageMutex - 113)",
                static_cast<void*>(mutex.get()));
  QNLogger log("guard.log", 0, m_harness.platform);
  log.SetConsoleEcho(false);
  other.FailReleases(288);
  {
    QNManageMutex guard(mutex.get(), m_status, &log, platform);
    guard.Release();
    guard.Release();  // Forgotten: nothing is released twice.
  }
  EXPECT_EQ(log.Flush(), 0U);
  EXPECT_THAT(m_harness.Lines("guard.log"), ElementsAre(EndsWith(expected)));
}

TEST_F(ManageMutex, SurvivesMisuseWithoutALogger) {
  { const QNManageMutex guard(nullptr, m_status, nullptr, m_harness.platform); }
  EXPECT_EQ(m_status, 6U);
  const auto mutex = m_sync.NewMutex();
  m_sync.FailReleases(288);
  { const QNManageMutex guard(mutex.get(), m_status, nullptr, m_harness.platform); }
  EXPECT_EQ(m_status, 0U);
}

TEST_F(ManageMutex, EndsWithoutAHandleWhenTheNameGivesNone) {
  { const QNManageMutex guard(static_cast<const char*>(nullptr), m_status, m_harness.platform); }
  EXPECT_EQ(m_status, 5U);
  m_sync.RefuseNamedMutexes(true);
  { const QNManageMutex guard(m_name.c_str(), m_status, m_harness.platform); }
  EXPECT_EQ(m_status, 7U);
  EXPECT_THAT(m_harness.surroundings.DebugTexts(), ElementsAre("ERROR", "ERROR"));
}

TEST_F(ManageMutex, OpensOrCreatesByName) {
  EXPECT_FALSE(IsMutexBusy(m_sync, nullptr));
  EXPECT_EQ(OpenOrCreateMutex(m_sync, nullptr, m_status), nullptr);
  EXPECT_EQ(m_status, 5U);
  EXPECT_EQ(OpenOrCreateMutex(m_sync, "", m_status), nullptr);
  EXPECT_EQ(m_status, 5U);
  const auto created = OpenOrCreateMutex(m_sync, m_name.c_str(), m_status);
  ASSERT_NE(created, nullptr);
  EXPECT_EQ(m_status, 0U);
  const auto opened = OpenOrCreateMutex(m_sync, m_name.c_str(), m_status);
  ASSERT_NE(opened, nullptr);
  m_sync.RefuseNamedMutexes(true);
  EXPECT_EQ(OpenOrCreateMutex(m_sync, m_name.c_str(), m_status), nullptr);
  EXPECT_EQ(m_status, 7U);
}

TEST_F(ManageMutex, ANamedMutexHeldElsewhereIsBusyAndNotAcquired) {
  EXPECT_FALSE(IsMutexBusy(m_sync, m_name.c_str()));
  auto held = AcquireMutex(m_sync, m_name.c_str(), kNoLimit, m_status);
  ASSERT_NE(held, nullptr);
  EXPECT_EQ(m_status, 0U);

  std::thread([this] {
    EXPECT_TRUE(IsMutexBusy(m_sync, m_name.c_str()));
    EXPECT_EQ(AcquireMutex(m_sync, m_name.c_str(), 0, m_status), nullptr);
    EXPECT_EQ(m_status, 2U);
  }).join();

  ReleaseAndCloseMutex(std::move(held));
  std::thread([this] {
    EXPECT_FALSE(IsMutexBusy(m_sync, m_name.c_str()));
    const QNManageMutex guard(m_name.c_str(), m_status, m_harness.platform);
    EXPECT_EQ(m_status, 0U);
  }).join();
  EXPECT_EQ(m_sync.OpenNamedMutexes(), 0);
}

TEST_F(ManageMutex, AnAbandonedNamedMutexIsBusyOnceAndHandedBack) {
  // Kept open, so that the name lives on when its owner's thread has ended.
  const auto open = OpenOrCreateMutex(m_sync, m_name.c_str(), m_status);
  const auto abandon = [&open] {
    std::thread([&open] { EXPECT_EQ(open->Wait(0), WaitResult::kSignalled); }).join();
  };
  abandon();
  EXPECT_TRUE(IsMutexBusy(m_sync, m_name.c_str()));
  EXPECT_FALSE(IsMutexBusy(m_sync, m_name.c_str()));
  abandon();
  EXPECT_EQ(AcquireMutex(m_sync, m_name.c_str(), 0, m_status), nullptr);
  EXPECT_EQ(m_status, 3U);
  auto held = AcquireMutex(m_sync, m_name.c_str(), 0, m_status);
  EXPECT_EQ(m_status, 0U);
  ReleaseAndCloseMutex(std::move(held));
}

TEST_F(ManageMutex, AFailedWaitLeavesTheNameOpen) {
  m_sync.mutexWaits.Set({WaitResult::kFailed});
  EXPECT_EQ(AcquireMutex(m_sync, m_name.c_str(), 5, m_status), nullptr);
  EXPECT_EQ(m_status, 0U);
  EXPECT_EQ(m_sync.OpenNamedMutexes(), 1);
}

}  // namespace
}  // namespace tlk::test
