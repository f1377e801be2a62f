#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "log/QNLogger.h"
#include "tests/log/Gate.h"
#include "tests/log/LogHarness.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::string kOverflow =
    "---------------------------- max logger queue size ----------------------------";
const std::string kCleared =
    "---------------------------- logger queue cleared ----------------------------";

std::vector<std::string> Records(const std::vector<std::string>& lines) {
  std::vector<std::string> records;
  for (const std::string& line : lines) {
    const auto mark = line.find(") ");
    records.push_back(mark == std::string::npos ? line : line.substr(mark + 2));
  }
  return records;
}

class Queue : public testing::Test {
 protected:
  // A record whose stored line is 60 bytes long.
  std::string Sixty(char letter) const {
    const auto thread = static_cast<std::int32_t>(m_sync.CurrentThreadId());
    const std::size_t head = 23 + 3 + std::to_string(thread).size() + 2;
    return std::string(60 - head, letter);
  }

  // Queues "first" and, while the writer is busy with it, a record of 60 bytes for each letter.
  void QueueTogether(const std::string& letters) {
    StopAppends();
    m_log.Write("first");
    m_gate.WaitForArrivals(1);
    for (const char letter : letters) m_log.Write(Sixty(letter));
  }

  void StopAppends() {
    m_harness.OnAppend([this] { m_gate.Pass(); });
  }

  void TearDown() override { m_gate.Open(); }

  std::vector<std::string> Written() { return Records(m_harness.Lines("q.log")); }

  Gate m_gate;
  LogHarness m_harness;
  ScriptedSynchronisation& m_sync = m_harness.synchronisation;
  QNLogger m_log{"q.log", 4, m_harness.platform};
};

TEST_F(Queue, MarksOverflowAndRecoveryInTheFile) {
  m_log.SetConsoleEcho(false);
  m_log.SetMaxQueueSize(200);
  QueueTogether("abcde");
  m_gate.Open();
  EXPECT_EQ(m_log.Flush(), 0U);
  // Of 300 bytes the first marker takes 79 that nobody counted in, so 41 are left behind "c".
  EXPECT_THAT(Written(), ElementsAre("first", kOverflow, Sixty('a'), Sixty('b'), Sixty('c'),
                                     kCleared, Sixty('d'), Sixty('e')));
}

TEST_F(Queue, AtItsLimitIsNoOverflow) {
  m_log.SetConsoleEcho(false);
  m_log.SetMaxQueueSize(180);
  EXPECT_EQ(m_log.GetMaxQueueSize(), 180);
  QueueTogether("abc");
  m_gate.Open();
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_THAT(Written(), ElementsAre("first", Sixty('a'), Sixty('b'), Sixty('c')));
}

TEST_F(Queue, HoldsProducersBackUntilItIsHalfEmpty) {
  m_log.SetConsoleEcho(false);
  m_log.SetMaxQueueSize(200);
  QueueTogether("abcde");
  m_gate.Let(1);
  m_gate.WaitForArrivals(2);  // With the overflow marker; the throttle is closed.
  auto producer = std::async(std::launch::async, [this] { m_log.Write("late"); });
  ASSERT_TRUE(Eventually([this] { return m_sync.WaitingForEvents() == 1; }));

  m_gate.Let(3);
  m_gate.WaitForArrivals(5);  // With "c": 41 bytes are left, but nobody has looked yet.
  EXPECT_EQ(m_sync.WaitingForEvents(), 1);
  EXPECT_EQ(producer.wait_for(std::chrono::seconds(0)), std::future_status::timeout);

  m_gate.Open();
  producer.get();
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_THAT(Written(), ElementsAre("first", kOverflow, Sixty('a'), Sixty('b'), Sixty('c'),
                                     kCleared, Sixty('d'), Sixty('e'), "late"));
}

TEST_F(Queue, ThatOverflowsWhileTheFileCannotBeOpenedHoldsNobodyForEver) {
  m_log.SetConsoleEcho(false);
  const StdoutCapture capture;
  m_harness.AnswerAppends(append_result::kNotOpened);
  m_log.SetMaxQueueSize(500);
  for (int i = 0; i < 500; ++i) m_log.Write(Sixty('x'));
  m_harness.files.HealAll();
  m_log.Write("back");
  EXPECT_EQ(m_log.Flush(), 0U);
  ASSERT_THAT(Written(), testing::Not(IsEmpty()));
  EXPECT_EQ(Written().back(), "back");
}

TEST_F(Queue, WithANegativeLimitStillLetsEveryLineThrough) {
  m_log.SetConsoleEcho(false);
  m_log.SetMaxQueueSize(-1000);
  for (const char letter : {'a', 'b', 'c'}) m_log.Write(Sixty(letter));
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_THAT(Written(), testing::IsSupersetOf({Sixty('a'), Sixty('b'), Sixty('c')}));
}

TEST_F(Queue, LosesTheLineOfAFileThatCannotBeOpenedAndKeepsTheNext) {
  StopAppends();
  m_harness.files.FailNth(FileCall::Kind::kAppend, 1);
  m_log.SetDirectory("/gone");
  StdoutCapture capture;
  m_log.Write("lost");
  m_gate.WaitForArrivals(1);
  m_log.Write("kept");
  auto flush = std::async(std::launch::async, [this] { return m_log.Flush(); });
  ASSERT_TRUE(Eventually([this] { return m_sync.WaitingForEvents() == 1; }));
  m_gate.Open();
  EXPECT_EQ(flush.get(), 0U);
  EXPECT_THAT(Records(m_harness.Lines("/gone/q.log")), ElementsAre("kept"));
  EXPECT_THAT(capture.Text(), testing::StartsWith("Unable to open /gone/q.log\n("));
}

TEST_F(Queue, AnnouncesAFullDiskOnceAndGoesOn) {
  m_log.SetConsoleEcho(false);
  m_log.SetRotation(0, 3);
  StdoutCapture capture;
  m_harness.AnswerAppends(append_result::kNotWritten);
  for (int i = 0; i < 3; ++i) m_log.Write("lost");
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_THAT(m_harness.Moves(), IsEmpty());
  m_harness.AnswerAppends(10);
  m_log.Write("written");
  EXPECT_EQ(m_log.Flush(), 0U);
  m_harness.AnswerAppends(append_result::kNotWritten);
  m_log.Write("lost");
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_EQ(capture.Text(), "Unable to write q.log\nUnable to write q.log\n");
}

TEST_F(Queue, EchoesFromTheFirstParenthesisUnlessToldNotTo) {
  StdoutCapture capture;
  m_log.SetMaxQueueSize(10);  // So that marker lines are written too.
  m_log.Write("one (more)");
  EXPECT_EQ(m_log.Flush(), 0U);
  m_log.SetConsoleEcho(false);
  m_log.Write("silent");
  EXPECT_EQ(m_log.Flush(), 0U);
  const std::string thread = std::to_string(static_cast<std::int32_t>(m_sync.CurrentThreadId()));
  EXPECT_EQ(capture.Text(), "(" + thread + ") one (more)\n");
}

TEST_F(Queue, FlushReturnsAtOnceWhileThereIsNoWriter) {
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_EQ(m_sync.ThreadsMade(), 0);
}

TEST_F(Queue, FlushReturnsTheResultOfItsWaits) {
  m_log.SetConsoleEcho(false);
  m_log.Write("a");
  EXPECT_EQ(m_log.Flush(), 0U);
  m_sync.mutexWaits.Set({WaitResult::kFailed});
  EXPECT_EQ(m_log.Flush(), 0xFFFFFFFFU);
  m_sync.mutexWaits.Set({WaitResult::kAbandoned});
  EXPECT_EQ(m_log.Flush(), 0x80U);
  m_sync.eventWaits.Set({WaitResult::kTimedOut});
  EXPECT_EQ(m_log.Flush(), 0x102U);
  EXPECT_EQ(m_log.Flush(), 0U);
}

TEST_F(Queue, EveryFlushOfManyFindsItsOwnLineWritten) {
  m_log.SetConsoleEcho(false);
  std::array<std::jthread, 4> threads;
  for (std::size_t t = 0; t < threads.size(); ++t) {
    threads[t] = std::jthread([this, t] {
      for (int n = 0; n < 50; ++n) {
        const std::string mine = std::to_string(t) + ":" + std::to_string(n);
        m_log.Write(mine);
        EXPECT_EQ(m_log.Flush(), 0U);
        EXPECT_THAT(Written(), testing::Contains(mine));
      }
    });
  }
  for (std::jthread& thread : threads) thread.join();
  EXPECT_THAT(Written(), SizeIs(200));
}

TEST_F(Queue, IsSharedByAllLogs) {
  m_sync.RefuseThreads(true);
  m_log.Write("of the first");
  m_sync.RefuseThreads(false);
  QNLogger other("other.log", 4, m_harness.platform);
  other.SetConsoleEcho(false);
  other.Write("of the other");
  EXPECT_EQ(other.Flush(), 0U);
  EXPECT_THAT(Records(m_harness.Lines("other.log")), ElementsAre("of the first", "of the other"));
  EXPECT_THAT(Written(), IsEmpty());
}

}  // namespace
}  // namespace tlk::test
