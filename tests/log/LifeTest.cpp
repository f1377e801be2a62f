#include <future>
#include <string>
#include <thread>

#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Life : public LogFixture {
 protected:
  void EndLog() {
    m_log.reset();
    m_permits = kAllLines;
    m_sync.WaitForThreads();
  }

  void SetHooks() {
    const auto count = [](void* calls, const char* category, const char* name) {
      *static_cast<std::atomic<int>*>(calls) += category + std::string(name) == "SystemWriteLog";
    };
    EXPECT_TRUE(m_log->SetThreadStartHook(count, &m_starts));
    EXPECT_TRUE(m_log->SetThreadEndHook(count, &m_ends));
  }

  /// A writer whose first wait ends like this, with a line queued and a flush waiting, and the
  /// next.
  void ExpectEnd(WaitResult wait, std::uint32_t flushed, const std::string& written, int ends) {
    SetHooks();
    m_sync.eitherWaits.areHeld = true;
    m_sync.eitherWaits.Give(wait, 1);
    Write("1");
    auto flush = std::async(std::launch::async, [this] { return m_log->Flush(); });
    EXPECT_TRUE(AreWaiting(1));
    m_sync.eitherWaits.areHeld = false;
    EXPECT_EQ(flush.get(), flushed);
    m_sync.WaitForThreads();
    EXPECT_EQ(Letters(), written);
    Write("2");
    Flush();
    EXPECT_EQ(Letters(), "12");
    EndLog();
    EXPECT_EQ(m_starts, 2);
    EXPECT_EQ(m_ends, ends);
    EXPECT_THAT(m_surroundings.Sleeps(), ElementsAre(1000U));  // The log's second for its writer.
  }

  std::atomic<int> m_starts{0};
  std::atomic<int> m_ends{0};
};

class LifeWithoutPart : public Life, public testing::WithParamInterface<int> {};

TEST_P(LifeWithoutPart, IsAnnouncedAndLeavesALogThatDoesNothing) {
  const std::string part = GetParam() == 1 ? "mutex" : "event " + std::to_string(GetParam() - 1);
  m_sync.anyCall.Fail(GetParam());
  testing::internal::CaptureStdout();
  QNLogger log("unusable.log", 4, m_platform);
  log.LogNormal(0, 115, "S", 1, "dropped");
  EXPECT_EQ(log.Flush(), 0U);
  LineList lines{"kept"};
  log.CopyLineList(lines);
  EXPECT_THAT(lines, ElementsAre("kept"));  // The list of the process is empty.
  log.GetLineList(lines);
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_EQ(m_sync.ThreadsMade(), 0U);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Unable to create " + part + " - QNLogger\n");
  // What was dropped does not turn up in another log either.
  Write("1");
  Flush();
  EXPECT_EQ(Letters(), "1");
}

INSTANTIATE_TEST_SUITE_P(Each, LifeWithoutPart, testing::Range(1, 6));

TEST_F(Life, AWriterWhoseWaitFailsEndsWithoutItsHookAndIsReplaced) {
  ExpectEnd(WaitResult::kFailed, 0xFFFFFFFF, "", 1);
}

TEST_F(Life, AWriterThatIsToldToEndWritesWhatIsQueuedAndIsReplaced) {
  ExpectEnd(WaitResult::kSecondSignalled, 0, "1", 2);
}

TEST_F(Life, AFailingLockLosesNoLine) {
  m_sync.mutexWaits.Give(WaitResult::kFailed, 2);  // Producer's, writer's.
  Write("1");
  EXPECT_TRUE(Eventually([this] { return m_sync.mutexWaits.left == 0; }));
  EXPECT_EQ(Letters(), "");
  Write("2");
  Flush();
  EXPECT_EQ(Letters(), "12");
}

TEST_F(Life, AThreadThatIsRefusedIsAskedForWithTheNextLine) {
  m_sync.refusesThreads = true;
  Write("12");
  Flush();
  m_sync.refusesThreads = false;
  Write("3");
  Flush();
  EXPECT_EQ(Letters(), "123");
}

TEST_F(Life, AWriterRestsAndTheNextLineStartsAnother) {
  SetHooks();
  for (int round = 0; round < 200; ++round) {
    std::thread other([this] { Write("2"); });
    Write("1");
    m_log->Rest();
    other.join();
    m_log->Rest();
    EXPECT_EQ(m_starts, m_ends);
    m_sync.WaitForThreads();
  }
  EXPECT_EQ(Letters().size(), 400);
  EndLog();
  EXPECT_THAT(m_surroundings.Sleeps(), IsEmpty());  // No writer, so nobody to wait for.
}

TEST_F(Life, AWriterThatIsStillBusyHoldsNobodyUpAndWritesTheRestWithoutTheLog) {
  WriteAndStop("1");
  Write("23");
  m_sync.eventWaits.Give(WaitResult::kTimedOut, 2);
  m_sync.threadWaits.Give(WaitResult::kTimedOut, 1);
  m_log->Rest();
  m_log->Rest();
  EndLog();
  EXPECT_EQ(Letters(), "123");
}

}  // namespace
}  // namespace tlk::test
