#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "log/QNLogger.h"
#include "tests/log/Gate.h"
#include "tests/log/LogHarness.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

class Life : public testing::Test {
 protected:
  void Make() { m_log = std::make_unique<QNLogger>("life.log", 4, m_harness.platform); }

  void MakeSilent() {
    Make();
    m_log->SetConsoleEcho(false);
  }

  void Destroy() {
    m_log.reset();
    m_sync.WaitForThreads();
  }

  std::vector<std::string> Written() const { return m_harness.Lines("life.log"); }

  void TearDown() override { m_gate.Open(); }

  Gate m_gate;
  LogHarness m_harness;
  ScriptedSynchronisation& m_sync = m_harness.synchronisation;
  std::unique_ptr<QNLogger> m_log;
};

struct RefusalCase {
  int mutex;
  int event;
  const char* announced;
};

class LifeRefused : public Life, public testing::WithParamInterface<RefusalCase> {};

TEST_P(LifeRefused, IsAnnouncedAndLeavesALogThatDoesNothing) {
  m_sync.RefuseMutex(GetParam().mutex);
  m_sync.RefuseEvent(GetParam().event);
  StdoutCapture capture;
  Make();
  EXPECT_EQ(m_sync.EventsMade(), GetParam().event);
  m_log->Write("dropped");
  m_log->LogNormal(0, 115, "S", 1, "dropped");
  EXPECT_EQ(m_log->Flush(), 0xFFFFFFFFU);
  LineList lines{"gone"};
  m_log->GetLineList(lines);
  EXPECT_THAT(lines, IsEmpty());
  m_log->SetDirectory("/nowhere");
  EXPECT_EQ(m_log->ScanLog(0, lines), iLogger::kScanNotOpened);
  Destroy();
  EXPECT_EQ(capture.Text(), GetParam().announced);
  EXPECT_EQ(m_sync.ThreadsMade(), 0);

  // What was dropped does not turn up in the next log either.
  MakeSilent();
  m_log->Write("next");
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_THAT(Written(), ElementsAre(EndsWith(") next")));
}

INSTANTIATE_TEST_SUITE_P(Parts, LifeRefused,
                         testing::Values(RefusalCase{1, 0, "Unable to create mutex - QNLogger\n"},
                                         RefusalCase{0, 1, "Unable to create event 1 - QNLogger\n"},
                                         RefusalCase{0, 2, "Unable to create event 2 - QNLogger\n"},
                                         RefusalCase{0, 3, "Unable to create event 3 - QNLogger\n"},
                                         RefusalCase{0, 4,
                                                     "Unable to create event 4 - QNLogger\n"}));

TEST_F(Life, StartsWithTheseSettings) {
  MakeSilent();
  EXPECT_EQ(m_log->GetDirectory(), "");
  EXPECT_EQ(m_log->GetMaxQueueSize(), 512'000);
  EXPECT_EQ(m_log->GetLevel(), 4);
  m_harness.AnswerAppends(2'097'152);
  m_log->Write("not past the size limit");
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_THAT(m_harness.Moves(), IsEmpty());
  m_harness.AnswerAppends(2'097'153);
  m_log->Write("past it");
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_THAT(m_harness.Moves(), SizeIs(9 + 9));  // Nine deleted, nine renamed.
}

TEST_F(Life, WithoutAThreadKeepsItsLinesForALaterOne) {
  MakeSilent();
  m_sync.RefuseThreads(true);
  m_log->Write("one");
  m_log->Write("two");
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_THAT(Written(), IsEmpty());
  m_sync.RefuseThreads(false);
  m_log->Write("three");
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_THAT(Written(), ElementsAre(EndsWith(") one"), EndsWith(") two"), EndsWith(") three")));
  EXPECT_EQ(m_sync.ThreadsMade(), 1);
}

struct HookLog {
  std::vector<std::string> calls;
  LogHarness* harness;

  static void Started(void* context, const char* category, const char* name) {
    static_cast<HookLog*>(context)->Add("start", category, name);
  }
  static void Ended(void* context, const char* category, const char* name) {
    static_cast<HookLog*>(context)->Add("end", category, name);
  }
  void Add(const std::string& hook, const std::string& category, const std::string& name) {
    const auto written = std::to_string(harness->Lines("life.log").size());
    calls.push_back(hook + " " + category + " " + name + " after " + written);
  }
};

TEST_F(Life, CallsTheHooksOnTheWriterThread) {
  HookLog hooks{{}, &m_harness};
  MakeSilent();
  EXPECT_TRUE(m_log->SetThreadStartHook(&HookLog::Started, &hooks));
  EXPECT_TRUE(m_log->SetThreadEndHook(&HookLog::Ended, &hooks));
  m_log->Write("a");
  Destroy();
  EXPECT_THAT(hooks.calls,
              ElementsAre("start System WriteLog after 0", "end System WriteLog after 1"));
}

TEST_F(Life, AWriterWhoseWaitFailsEndsAndIsReplaced) {
  HookLog hooks{{}, &m_harness};
  MakeSilent();
  m_log->SetThreadEndHook(&HookLog::Ended, &hooks);
  m_sync.eitherWaits.Set({WaitResult::kFailed});
  m_log->Write("stays queued");
  m_sync.WaitForThreads();
  EXPECT_THAT(hooks.calls, IsEmpty());
  EXPECT_THAT(Written(), IsEmpty());
  EXPECT_EQ(m_log->Flush(), 0U);

  m_log->Write("with the next");
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_THAT(Written(), SizeIs(2));
  EXPECT_EQ(m_sync.ThreadsMade(), 2);
  Destroy();
  EXPECT_THAT(hooks.calls, ElementsAre("end System WriteLog after 2"));
}

TEST_F(Life, AWriterThatCannotTakeTheLockTriesAgainLater) {
  MakeSilent();
  m_sync.mutexWaits.Set({std::nullopt, WaitResult::kFailed});  // The producer's, the writer's.
  m_log->Write("a");
  ASSERT_TRUE(Eventually([this] { return m_sync.mutexWaits.IsUsedUp(); }));
  EXPECT_THAT(Written(), IsEmpty());
  m_log->Write("b");
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_THAT(Written(), ElementsAre(EndsWith(") a"), EndsWith(") b")));
}

TEST_F(Life, AProducerThatCannotTakeTheLockQueuesAllTheSame) {
  MakeSilent();
  m_sync.mutexWaits.Set({WaitResult::kFailed});
  m_log->Write("a");
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_THAT(Written(), ElementsAre(EndsWith(") a")));
}

TEST_F(Life, EndsWithASecondForTheWriter) {
  MakeSilent();
  m_log->Write("a");
  Destroy();
  EXPECT_THAT(m_harness.surroundings.Sleeps(), ElementsAre(1000U));
  EXPECT_THAT(Written(), ElementsAre(EndsWith(") a")));
}

TEST_F(Life, AWriterThatIsStillBusyWritesTheRestWithoutTheLog) {
  m_harness.OnAppend([this] { m_gate.Pass(); });
  MakeSilent();
  m_log->Write("a");
  m_gate.WaitForArrivals(1);
  m_log->Write("b");
  m_log->Write("c");
  m_log.reset();
  m_gate.Open();
  m_sync.WaitForThreads();
  EXPECT_THAT(Written(), ElementsAre(EndsWith(") a"), EndsWith(") b"), EndsWith(") c")));
}

TEST_F(Life, IsCountedLikeAnySharedObject) {
  { const ZRef<iLogger> log(new QNLogger("life.log", 4, m_harness.platform)); }
  EXPECT_THAT(m_harness.surroundings.Sleeps(), ElementsAre(1000U));
}

}  // namespace
}  // namespace tlk::test
