#include <string>
#include <vector>

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
};

class LifeWithoutPart : public Life, public testing::WithParamInterface<int> {};

TEST_P(LifeWithoutPart, IsAnnouncedAndLeavesALogThatDoesNothing) {
  static const char* const announced[] = {
      "Unable to create mutex - QNLogger\n",   "Unable to create event 1 - QNLogger\n",
      "Unable to create event 2 - QNLogger\n", "Unable to create event 3 - QNLogger\n",
      "Unable to create event 4 - QNLogger\n",
  };
  m_sync.partsToRefusal = GetParam() + 1;
  testing::internal::CaptureStdout();
  {
    QNLogger log("unusable.log", 4, m_platform);
    EXPECT_EQ(m_sync.partsToRefusal, 0);  // Nothing was asked for behind what was refused.
    log.LogNormal(0, 115, "S", 1, "dropped");
    EXPECT_EQ(log.Flush(), 0U);
    LineList lines{"kept"};
    log.CopyLineList(lines);
    EXPECT_THAT(lines, ElementsAre("kept"));  // The list of the process is empty.
    log.GetLineList(lines);
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_EQ(m_sync.ThreadsMade(), 0U);
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), announced[GetParam()]);
  // What was dropped does not turn up in another log either.
  m_log->Write("next");
  EXPECT_THAT(Written(), ElementsAre("next"));
}

INSTANTIATE_TEST_SUITE_P(Each, LifeWithoutPart, testing::Range(0, 5));

struct HookLog {
  std::string hook;
  std::vector<std::string>& calls;

  static void Add(void* context, const char* category, const char* name) {
    const auto& [hook, calls] = *static_cast<HookLog*>(context);
    calls.push_back(hook + category + " " + name);
  }
};

TEST_F(Life, AWriterWhoseWaitFailsEndsWithoutItsHookAndIsReplaced) {
  std::vector<std::string> calls;
  m_files.OnCall([&calls](const FileCall&) { calls.emplace_back("append"); });
  HookLog start{"start ", calls};
  HookLog end{"end ", calls};
  EXPECT_TRUE(m_log->SetThreadStartHook(&HookLog::Add, &start));
  EXPECT_TRUE(m_log->SetThreadEndHook(&HookLog::Add, &end));
  m_sync.eitherWaits.Give(WaitResult::kFailed, 1);
  m_log->Write("stays queued");
  m_sync.WaitForThreads();
  EXPECT_THAT(Written(), IsEmpty());
  m_log->Write("with the next");
  EndLog();
  EXPECT_THAT(calls, ElementsAre("start System WriteLog", "start System WriteLog", "append",
                                 "append", "end System WriteLog"));
  EXPECT_THAT(m_surroundings.Sleeps(), ElementsAre(1000U));  // The log's second for its writer.
}

TEST_F(Life, AFailingLockLosesNoLine) {
  m_sync.mutexWaits.Give(WaitResult::kFailed, 2);  // Producer's, writer's.
  m_log->Write("a");
  EXPECT_TRUE(Eventually([this] { return m_sync.mutexWaits.waitsLeft == 0; }));
  EXPECT_THAT(Records(), IsEmpty());
  m_log->Write("b");
  EXPECT_THAT(Written(), ElementsAre("a", "b"));
}

TEST_F(Life, AWriterRestsAndTheNextLineStartsAnother) {
  for (int round = 0; round < 200; ++round) {
    std::thread other([this] { m_log->Write("b"); });
    m_log->Write("a");
    m_log->Rest();
    other.join();
    m_log->Rest();
    m_sync.WaitForThreads();
  }
  EXPECT_EQ(Records().size(), 400);
  EndLog();
  EXPECT_THAT(m_surroundings.Sleeps(), IsEmpty());  // No writer, so nobody to wait for.
}

TEST_F(Life, AWriterThatIsStillBusyWritesTheRestWithoutTheLog) {
  StopWriter();
  m_log->Write("a");
  EXPECT_TRUE(IsStoppedAt(1));
  m_log->Write("b");
  m_log->Write("c");
  EndLog();
  EXPECT_THAT(Records(), ElementsAre("a", "b", "c"));
}

}  // namespace
}  // namespace tlk::test
