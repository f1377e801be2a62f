#include <future>
#include <map>
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
    const auto take = [&] { return mutex.Wait(0) == WaitResult::kSignalled && mutex.Release(); };
    return std::async(std::launch::async, take).get();
  }

  /// The status of a guard, by handle and perhaps logger or by name, that ends at once.
  template <typename... Logger>
  std::uint32_t Guard(auto* mutex, Logger*... logger) {
    std::uint32_t status = 77;
    const QNManageMutex guard(mutex, status, logger..., m_platform);
    return status;
  }

  /// Whether a named mutex was acquired, and the status.
  std::pair<bool, std::uint32_t> Acquire(const char* name) {
    std::uint32_t status = 77;
    const bool isAcquired = AcquireMutex(m_sync, name, 5, status) != nullptr;
    return {isAcquired, status};
  }

  // A name of this process alone.
  const std::string m_ownName = "tlkc2-guard-" + std::to_string(std::random_device()());
  const char* const m_name = m_ownName.c_str();
  const std::unique_ptr<SystemMutex> m_mutex = m_sync.NewMutex();
  QNLogger* const m_noLogger = nullptr;
  std::uint32_t m_status = 77;
};

TEST_F(ManageMutex, TellsHowItsWaitEnded) {
  using enum WaitResult;
  const std::map<WaitResult, std::uint32_t> statuses{
      {kSignalled, 0}, {kTimedOut, 2}, {kAbandoned, 3}, {kFailed, 0}};
  for (const auto& [waited, status] : statuses) {
    const bool isHeld = waited == kSignalled;
    m_sync.mutexWaits.Give(waited, 4);
    EXPECT_EQ(Guard(m_mutex.get(), m_noLogger), status);
    EXPECT_EQ(Guard(m_name), status);
    EXPECT_EQ(IsMutexBusy(m_sync, m_name), !isHeld);
    EXPECT_FALSE(NameExists());
    EXPECT_EQ(Acquire(m_name), std::pair(isHeld, status));
    // Kept: the name stays open when the wait itself has failed.
    EXPECT_EQ(NameExists(), waited == kFailed);
  }
}

TEST_F(ManageMutex, HoldsTheMutexForTheScope) {
  {
    QNManageMutex guard(m_mutex.get(), m_status, nullptr, m_platform);
    EXPECT_FALSE(IsFree(*m_mutex));
    guard.Release();
    EXPECT_TRUE(IsFree(*m_mutex));
  }
  EXPECT_EQ(Guard(m_mutex.get(), m_noLogger), 0U);
  EXPECT_TRUE(IsFree(*m_mutex));
  // Of the one that had none at its end.
  EXPECT_THAT(m_surroundings.DebugTexts(), ElementsAre("ERROR"));
}

TEST_F(ManageMutex, ReportsMisuseToItsLoggerIfAny) {
  m_log->SetLevel(0);
  for (QNLogger* const logger : {m_log.get(), m_noLogger}) {
    EXPECT_EQ(Guard(static_cast<SystemMutex*>(nullptr), logger), 6U);
    QNManageMutex guard(m_mutex.get(), m_status, logger, m_platform);
    EXPECT_TRUE(m_mutex->Release());
    guard.Release();
    guard.Release();  // Forgotten: nothing is released twice.
  }
  Flush();
  const auto failed = testing::AllOf(
      testing::StartsWith("E QNManageMutex Release() - ReleaseMutex() failed mutex:"),
      testing::EndsWith(".  GetLastError:288 (QNManageMutex - 113)"));
  EXPECT_THAT(Records(), ElementsAre("N NULL mutex value passed in (QNManageMutex - 59)", failed));
  EXPECT_THAT(m_surroundings.DebugTexts(), testing::SizeIs(4));
}

TEST_F(ManageMutex, HasNoneWithoutANameOrWhenTheSystemRefuses) {
  const std::pair<const char*, std::uint32_t> statuses[] = {{nullptr, 5}, {"", 5}, {m_name, 7}};
  m_sync.refusesNamedMutexes = true;
  for (const auto& [name, status] : statuses) {
    EXPECT_EQ(Acquire(name), std::pair(false, status));
    EXPECT_EQ(Guard(name), status);
    EXPECT_FALSE(IsMutexBusy(m_sync, name));
  }
  EXPECT_THAT(m_surroundings.DebugTexts(), ElementsAre("ERROR", "ERROR", "ERROR"));
  ReleaseAndCloseMutex(nullptr);
}

TEST_F(ManageMutex, ANamedMutexIsBusyWhileHeldAndHandedBackWhenAbandoned) {
  auto held = AcquireMutex(m_sync, m_name, kNoLimit, m_status);
  EXPECT_EQ(m_status, 0U);
  std::thread([this] {
    EXPECT_TRUE(IsMutexBusy(m_sync, m_name));
    EXPECT_EQ(Acquire(m_name), std::pair(false, 2U));
  }).join();
  ReleaseAndCloseMutex(std::move(held));
  EXPECT_FALSE(NameExists());
  // Kept open, so that the name lives on when its owner's thread has ended.
  const auto open = OpenOrCreateMutex(m_sync, m_name, m_status);
  std::thread([&open] { EXPECT_EQ(open->Wait(0), WaitResult::kSignalled); }).join();
  EXPECT_EQ(Acquire(m_name), std::pair(false, 3U));
  EXPECT_TRUE(IsFree(*open));
  EXPECT_FALSE(IsMutexBusy(m_sync, m_name));
  EXPECT_TRUE(IsFree(*open));
}

}  // namespace
}  // namespace tlk::test
