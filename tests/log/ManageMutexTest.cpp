#include "log/QNManageMutex.h"

#include <random>

#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

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
    const QNManageMutex guard(mutex, m_status, logger..., m_platform);
    return m_status;
  }

  /// Whether a named mutex was acquired, and the status.
  std::pair<bool, std::uint32_t> Acquire(const char* name) {
    const bool isAcquired = AcquireMutex(m_sync, name, 5, m_status) != nullptr;
    return {isAcquired, m_status};
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
  for (const auto& [waited, status] :
       {std::pair(kSignalled, 0U), {kTimedOut, 2U}, {kAbandoned, 3U}, {kFailed, 0U}}) {
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

TEST_F(ManageMutex, HoldsTheMutexForTheScopeAndReportsMisuseToItsLoggerIfAny) {
  EXPECT_EQ(Guard(m_mutex.get(), m_noLogger), 0U);
  EXPECT_THAT(m_surroundings.debugTexts, ElementsAre());
  m_log->SetLevel(0);
  for (QNLogger* const logger : {m_log.get(), m_noLogger}) {
    EXPECT_EQ(Guard(static_cast<SystemMutex*>(nullptr), logger), 6U);
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

TEST_F(ManageMutex, HasNoneWithoutANameOrWhenTheSystemRefuses) {
  for (const auto& [name, status] : {std::pair(m_name, 7U), {nullptr, 5U}, {"", 5U}}) {
    m_sync.anyCall.Fail(1);
    EXPECT_EQ(Acquire(name), std::pair(false, status));
    m_sync.anyCall.Fail(1);
    EXPECT_EQ(Guard(name), status);
    m_sync.anyCall.Fail(1);
    EXPECT_FALSE(IsMutexBusy(m_sync, name));
  }
  EXPECT_THAT(m_surroundings.debugTexts, testing::SizeIs(3));
  ReleaseAndCloseMutex(nullptr);
}

TEST_F(ManageMutex, OfANameIsHandedBackWhenAbandoned) {
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
