#include <future>
#include <random>
#include <string>
#include <thread>

#include "log/NamedMutex.h"
#include "log/QNManageMutex.h"
#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;

class ManageMutex : public LogFixture {
 protected:
  bool NameExists() { return m_sync.OpenNamedMutex(m_name) != nullptr; }

  static bool IsFree(SystemMutex& mutex) {
    const auto take = [&mutex] {
      return mutex.Wait(0) == WaitResult::kSignalled && mutex.Release();
    };
    return std::async(std::launch::async, take).get();
  }

  // A name of this process alone.
  const std::string m_ownName = "tlkc2-guard-" + std::to_string(std::random_device()());
  const char* const m_name = m_ownName.c_str();
  std::unique_ptr<SystemMutex> m_mutex = m_sync.NewMutex();
  std::uint32_t m_status = 77;
};

TEST_F(ManageMutex, TellsHowItsWaitEnded) {
  const std::pair<WaitResult, std::uint32_t> statuses[] = {{WaitResult::kSignalled, 0},
                                                           {WaitResult::kTimedOut, 2},
                                                           {WaitResult::kAbandoned, 3},
                                                           {WaitResult::kFailed, 0}};
  for (const auto& [waited, status] : statuses) {
    m_sync.mutexWaits.Give(waited, 4);
    { const QNManageMutex guard(m_mutex.get(), m_status, nullptr, m_platform); }
    EXPECT_EQ(m_status, status);
    m_status = 77;
    { const QNManageMutex guard(m_name, m_status, m_platform); }
    EXPECT_EQ(m_status, status);
    m_status = 77;
    EXPECT_EQ(IsMutexBusy(m_sync, m_name), waited != WaitResult::kSignalled);
    EXPECT_FALSE(NameExists());
    EXPECT_EQ(AcquireMutex(m_sync, m_name, 5, m_status) != nullptr,
              waited == WaitResult::kSignalled);
    EXPECT_EQ(m_status, status);
    // Kept: the name stays open when the wait itself has failed.
    EXPECT_EQ(NameExists(), waited == WaitResult::kFailed);
  }
}

TEST_F(ManageMutex, HoldsTheMutexForTheScope) {
  {
    QNManageMutex guard(m_mutex.get(), m_status, nullptr, m_platform);
    EXPECT_FALSE(IsFree(*m_mutex));
    guard.Release();
    EXPECT_TRUE(IsFree(*m_mutex));
  }
  { const QNManageMutex guard(m_mutex.get(), m_status, nullptr, m_platform); }
  EXPECT_TRUE(IsFree(*m_mutex));
  // Of the one that had none at its end.
  EXPECT_THAT(m_surroundings.DebugTexts(), ElementsAre("ERROR"));
}

TEST_F(ManageMutex, ReportsMisuseToItsLoggerIfAny) {
  QNLogger* const none = nullptr;
  for (QNLogger* const logger : {m_log.get(), none}) {
    { const QNManageMutex guard(nullptr, m_status, logger, m_platform); }
    EXPECT_EQ(m_status, 6U);
    QNManageMutex guard(m_mutex.get(), m_status, logger, m_platform);
    EXPECT_EQ(m_status, 0U);
    EXPECT_TRUE(m_mutex->Release());
    guard.Release();
    guard.Release();  // Forgotten: nothing is released twice.
  }
  char failed[160];
  std::snprintf(failed, sizeof failed,
                "E QNManageMutex Release() - ReleaseMutex() failed mutex:%p.  GetLastError:288"
                " (QNManageMutex - 113)",
                static_cast<void*>(m_mutex.get()));
  EXPECT_THAT(Written(), ElementsAre("N NULL mutex value passed in (QNManageMutex - 59)", failed));
  EXPECT_THAT(m_surroundings.DebugTexts(), ElementsAre("ERROR", "ERROR", "ERROR", "ERROR"));
}

TEST_F(ManageMutex, HasNoneWithoutANameOrWhenTheSystemRefuses) {
  const std::pair<const char*, std::uint32_t> cases[] = {{nullptr, 5}, {"", 5}, {m_name, 7}};
  m_sync.refusesNamedMutexes = true;
  for (const auto& [name, status] : cases) {
    EXPECT_EQ(AcquireMutex(m_sync, name, 0, m_status), nullptr);
    EXPECT_EQ(m_status, status);
    m_status = 77;
    { const QNManageMutex guard(name, m_status, m_platform); }
    EXPECT_EQ(m_status, status);
    EXPECT_FALSE(IsMutexBusy(m_sync, name));
  }
  EXPECT_THAT(m_surroundings.DebugTexts(), ElementsAre("ERROR", "ERROR", "ERROR"));
  ReleaseAndCloseMutex(nullptr);
}

TEST_F(ManageMutex, ANamedMutexHeldElsewhereIsBusyAndNotAcquired) {
  EXPECT_FALSE(IsMutexBusy(m_sync, m_name));
  EXPECT_FALSE(NameExists());
  auto held = AcquireMutex(m_sync, m_name, kNoLimit, m_status);
  EXPECT_EQ(m_status, 0U);
  std::thread([this] {
    EXPECT_TRUE(IsMutexBusy(m_sync, m_name));
    EXPECT_EQ(AcquireMutex(m_sync, m_name, 0, m_status), nullptr);
    EXPECT_EQ(m_status, 2U);
  }).join();
  ReleaseAndCloseMutex(std::move(held));
  EXPECT_FALSE(NameExists());
}

TEST_F(ManageMutex, AnAbandonedNamedMutexIsHandedBack) {
  // Kept open, so that the name lives on when its owner's thread has ended.
  const auto open = OpenOrCreateMutex(m_sync, m_name, m_status);
  std::thread([&open] { EXPECT_EQ(open->Wait(0), WaitResult::kSignalled); }).join();
  EXPECT_EQ(AcquireMutex(m_sync, m_name, 0, m_status), nullptr);
  EXPECT_EQ(m_status, 3U);
  EXPECT_TRUE(IsFree(*open));
}

}  // namespace
}  // namespace tlk::test
