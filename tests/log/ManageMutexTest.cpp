#include "log/QNManageMutex.h"

#include <random>

#include "tests/log/LogFixture.h"

namespace tlk::test {

struct ManageMutex : LogFixture {
  static bool IsFree(SystemMutex& mutex) {
    return Elsewhere([&] { return mutex.Wait(0) == WaitResult::kSignalled && mutex.Release(); });
  }

  /// The status of a guard that ends at once.
  std::uint32_t Guard(SystemMutex* mutex, QNLogger* logger) {
    const QNManageMutex guard(mutex, m_status, logger, m_platform);
    return m_status;
  }

  /// What each use of a name says, each with such a failing call: the status of a guard, whether
  /// it is busy, whether it can be acquired and with what status, and whether it is left behind.
  std::vector<std::uint32_t> Uses(const char* name, int failing = 0) {
    std::vector<std::uint32_t> said;
    m_sync.anyCall.Fail(failing);
    { const QNManageMutex guard(name, said.emplace_back(), m_platform); }
    m_sync.anyCall.Fail(failing);
    said.push_back(IsMutexBusy(m_sync, name));
    m_sync.anyCall.Fail(failing);
    said.push_back(AcquireMutex(m_sync, name, 5, m_status) != nullptr);
    said.push_back(m_status);
    said.push_back(m_sync.OpenNamedMutex(m_name) != nullptr);
    return said;
  }

  // A name of this process alone.
  const std::string m_ownName = "tlkc2-guard-" + std::to_string(std::random_device()());
  const char* const m_name = m_ownName.c_str();
  const std::unique_ptr<SystemMutex> m_mutex = m_sync.NewMutex();
  std::uint32_t m_status = 77;
};

TEST_F(ManageMutex, TellsHowItsWaitEnded) {
  using enum WaitResult;
  const std::pair<WaitResult, std::vector<std::uint32_t>> uses[] = {
      {kSignalled, {0, 0, 1, 0, 0}},
      {kTimedOut, {2, 1, 0, 2, 0}},
      {kAbandoned, {3, 1, 0, 3, 0}},
      {kFailed, {0, 1, 0, 0, 1}}};  // The name stays open when the wait itself has failed.
  for (const auto& [waited, said] : uses) {
    m_sync.mutexWaits.Give(waited, 4);
    EXPECT_EQ(Guard(m_mutex.get(), nullptr), said.front());
    EXPECT_EQ(Uses(m_name), said);
  }
}

TEST_F(ManageMutex, HasNoneWithoutANameOrWhenTheSystemRefuses) {
  EXPECT_THAT(Uses(m_name, 1), ElementsAre(7, 0, 0, 7, 0));
  for (const char* const name : {"", static_cast<const char*>(nullptr)})
    EXPECT_THAT(Uses(name), ElementsAre(5, 0, 0, 5, 0));
  EXPECT_THAT(m_surroundings.debugTexts, testing::SizeIs(3));
  ReleaseAndCloseMutex(nullptr);
}

TEST_F(ManageMutex, OfANameIsHandedBackWhenAbandoned) {
  // Kept open, so that the name lives on when its owner's thread has ended.
  const auto open = OpenOrCreateMutex(m_sync, m_name, m_status);
  std::thread([&open] { EXPECT_EQ(open->Wait(0), WaitResult::kSignalled); }).join();
  EXPECT_EQ(AcquireMutex(m_sync, m_name, 5, m_status), nullptr);
  EXPECT_TRUE(m_status == 3 && IsFree(*open));
  EXPECT_TRUE(!IsMutexBusy(m_sync, m_name) && IsFree(*open));
}

TEST_F(ManageMutex, HoldsTheMutexForTheScopeAndReportsMisuseToItsLoggerIfAny) {
  EXPECT_EQ(Guard(m_mutex.get(), nullptr), 0U);
  EXPECT_THAT(m_surroundings.debugTexts, ElementsAre());
  m_log->SetLevel(0);
  for (QNLogger* const logger : {m_log.get(), static_cast<QNLogger*>(nullptr)}) {
    EXPECT_EQ(Guard(nullptr, logger), 6U);
    QNManageMutex guard(m_mutex.get(), m_status, logger, m_platform);
    EXPECT_FALSE(IsFree(*m_mutex));
    EXPECT_TRUE(m_mutex->Release());
    EXPECT_TRUE(IsFree(*m_mutex));
    guard.Release();
    guard.Release();  // Forgotten: nothing is released twice.
  }
  Flush();
  const auto failed =
      testing::AllOf(StartsWith("E QNManageMutex Release() - ReleaseMutex() failed mutex:"),
                     testing::EndsWith(".  GetLastError:288 (QNManageMutex - 113)"));
  EXPECT_THAT(Records(), ElementsAre("N NULL mutex value passed in (QNManageMutex - 59)", failed));
  EXPECT_THAT(m_surroundings.debugTexts, ElementsAre("ERROR", "ERROR", "ERROR", "ERROR"));
}

}  // namespace tlk::test
