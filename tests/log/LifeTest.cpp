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

  /// What the writer thread calls.
  struct Hook {
    Life& life;
    const char* name;
    int change;  ///< Of the number of threads that run.

    static void Call(void* context, const char* category, const char* name) {
      const Hook& hook = *static_cast<Hook*>(context);
      hook.life.m_calls.push_back(hook.name + std::string(" ") + category + " " + name);
      hook.life.m_running += hook.change;
      EXPECT_TRUE(Eventually([&] { return hook.life.m_mayRun.load(); }));
    }
  };

  void SetHooks() {
    EXPECT_TRUE(m_log->SetThreadStartHook(&Hook::Call, &m_start));
    EXPECT_TRUE(m_log->SetThreadEndHook(&Hook::Call, &m_end));
  }

  /// A writer whose first wait ends like this, with a line queued and a flush waiting.
  void ExpectEnd(WaitResult wait, std::uint32_t flushed, const Strings& written) {
    SetHooks();
    m_mayRun = false;
    m_sync.eitherWaits.Give(wait, 1);
    m_log->Write("a");
    auto flush = std::async(std::launch::async, [this] { return m_log->Flush(); });
    EXPECT_TRUE(AreWaiting(1));
    m_mayRun = true;
    EXPECT_EQ(flush.get(), flushed);
    m_sync.WaitForThreads();
    EXPECT_EQ(Records(), written);
    m_log->Write("b");
    EXPECT_THAT(Written(), ElementsAre("a", "b"));
    EndLog();
    EXPECT_THAT(m_surroundings.Sleeps(), ElementsAre(1000U));  // The log's second for its writer.
  }

  Strings m_calls;
  std::atomic<int> m_running{0};
  std::atomic<bool> m_mayRun{true};
  Hook m_start{*this, "start", 1};
  Hook m_end{*this, "end", -1};
};

class LifeWithoutPart : public Life, public testing::WithParamInterface<int> {};

TEST_P(LifeWithoutPart, IsAnnouncedAndLeavesALogThatDoesNothing) {
  const std::string part = GetParam() == 1 ? "mutex" : "event " + std::to_string(GetParam() - 1);
  m_sync.anyCall.Fail(GetParam());
  testing::internal::CaptureStdout();
  {
    QNLogger log("unusable.log", 4, m_platform);
    log.LogNormal(0, 115, "S", 1, "dropped");
    EXPECT_EQ(log.Flush(), 0U);
    LineList lines{"kept"};
    log.CopyLineList(lines);
    EXPECT_THAT(lines, ElementsAre("kept"));  // The list of the process is empty.
    log.GetLineList(lines);
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_EQ(m_sync.ThreadsMade(), 0U);
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Unable to create " + part + " - QNLogger\n");
  // What was dropped does not turn up in another log either.
  m_log->Write("next");
  EXPECT_THAT(Written(), ElementsAre("next"));
}

INSTANTIATE_TEST_SUITE_P(Each, LifeWithoutPart, testing::Range(1, 6));

TEST_F(Life, AWriterWhoseWaitFailsEndsWithoutItsHookAndIsReplaced) {
  ExpectEnd(WaitResult::kFailed, 0xFFFFFFFF, {});
  EXPECT_THAT(m_calls,
              ElementsAre("start System WriteLog", "start System WriteLog", "end System WriteLog"));
}

TEST_F(Life, AWriterThatIsToldToEndWritesWhatIsQueuedAndIsReplaced) {
  ExpectEnd(WaitResult::kSecondSignalled, 0, {"a"});
  EXPECT_EQ(m_calls.size(), 4U);
}

TEST_F(Life, AFailingLockLosesNoLine) {
  m_sync.mutexWaits.Give(WaitResult::kFailed, 2);  // Producer's, writer's.
  m_log->Write("a");
  EXPECT_TRUE(Eventually([this] { return m_sync.mutexWaits.left == 0; }));
  EXPECT_THAT(Records(), IsEmpty());
  m_log->Write("b");
  EXPECT_THAT(Written(), ElementsAre("a", "b"));
}

TEST_F(Life, AWriterRestsAndTheNextLineStartsAnother) {
  SetHooks();
  for (int round = 0; round < 200; ++round) {
    std::thread other([this] { m_log->Write("b"); });
    m_log->Write("a");
    m_log->Rest();
    other.join();
    m_log->Rest();
    EXPECT_EQ(m_running, 0);
    m_sync.WaitForThreads();
  }
  EXPECT_EQ(Records().size(), 400);
  EndLog();
  EXPECT_THAT(m_surroundings.Sleeps(), IsEmpty());  // No writer, so nobody to wait for.
}

TEST_F(Life, AWriterThatIsStillBusyHoldsNobodyUpAndWritesTheRestWithoutTheLog) {
  WriteAndStop("a");
  Write({"b", "c"});
  m_sync.eventWaits.Give(WaitResult::kTimedOut, 2);
  m_sync.threadWaits.Give(WaitResult::kTimedOut, 1);
  m_log->Rest();
  m_log->Rest();
  EndLog();
  EXPECT_THAT(Records(), ElementsAre("a", "b", "c"));
}

}  // namespace
}  // namespace tlk::test
