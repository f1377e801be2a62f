#include <algorithm>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;

class Queue : public LogFixture {
 protected:
  // By append that gives such a result, how many files have been deleted or renamed, or tried to
  // be, in all.
  std::vector<std::size_t> MovesAfter(std::initializer_list<std::int64_t> appendResults) {
    std::vector<std::size_t> moves;
    for (const std::int64_t result : appendResults) {
      m_badLines = {0, kAllLines, result};
      Write("a");
      Flush();
      moves.push_back(m_files.Calls().size() - static_cast<std::size_t>(m_arrivals));
    }
    return moves;
  }
};

TEST_F(Queue, HoldsProducersBackUntilItIsHalfEmpty) {
  WriteAndStop("1");
  m_log->SetMaxQueueSize(300);
  Write("23456");
  StopBehind(1);  // Before 2: the limit was reached, not passed.
  m_log->SetMaxQueueSize(202);
  StopBehind(2);  // Before the overflow marker; the throttle is closed.
  auto producer = std::async(std::launch::async, [this] { Write("7"); });
  EXPECT_TRUE(AreWaiting(1));
  // Of 240 bytes the marker takes 79 that nobody counted in: half of the limit is left before 4.
  StopBehind(4);
  EXPECT_TRUE(AreWaiting(1));
  StopBehind(5);  // Before the other marker.
  EXPECT_TRUE(AreWaiting(0));
  m_permits = kAllLines;
  producer.get();
  Flush();
  EXPECT_EQ(Letters(), "12m34l567");
  const std::string rule(28, '-');
  EXPECT_EQ(Records()[2], rule + " max logger queue size " + rule);
  EXPECT_EQ(Records()[5], rule + " logger queue cleared " + rule);
}

TEST_F(Queue, OverflowsWhileTheWriterStillHasLines) {
  m_log->SetMaxQueueSize(300);
  WriteAndStop("1");
  Write("234");
  StopBehind(1);
  Write("5678");
  m_permits = kAllLines;
  Flush();
  EXPECT_EQ(Letters(), "12m345l678");
}

TEST_F(Queue, ThatOverflowsWhileTheFileCannotBeOpenedIsTriedOnUntilItIsHalfEmpty) {
  m_badLines = {2, 6};
  m_log->SetMaxQueueSize(200);
  WriteAndStop("1");
  Write("234567");
  testing::internal::CaptureStdout();
  m_permits = kAllLines;
  // Three times the marker, and 2. Those who queued lines ask for one more, which is 3.
  EXPECT_TRUE(IsAsleepBehind(6));
  Write("8");
  Flush();
  EXPECT_EQ(Letters(), "145678");
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::StartsWith("Unable to open t.log\n"));
}

TEST_F(Queue, LosesTheLineOfAFileThatCannotBeOpenedAndNoOther) {
  m_badLines = {2, 2};
  WriteAndStop("1");
  Write("234");
  StopBehind(1);  // It has taken them all.
  Write("5");
  const auto flush = [this] { return m_log->Flush(); };
  auto first = std::async(std::launch::async, flush);
  auto second = std::async(std::launch::async, flush);
  EXPECT_TRUE(AreWaiting(2));
  m_permits = kAllLines;
  EXPECT_EQ(first.get() + second.get(), 0U);
  EXPECT_EQ(Letters(), "1345");
}

TEST_F(Queue, LeavesWhatItCouldNotWriteToWhicheverLogIsNext) {
  m_badLines = {2, 3};
  WriteAndStop("1");
  Write("234");
  m_permits = kAllLines;
  EXPECT_TRUE(IsAsleepBehind(3));
  QNLogger other("other.log", 4, m_platform);
  other.SetConsoleEcho(false);
  other.Write("5");
  EXPECT_EQ(other.Flush(), 0U);
  EXPECT_EQ(Letters("other.log"), "45");
}

TEST_F(Queue, StartsWithTheseSettings) {
  EXPECT_EQ(m_log->GetDirectory(), "");
  EXPECT_EQ(m_log->GetMaxQueueSize(), 512'000);
  EXPECT_EQ(m_log->GetLevel(), 4);
  EXPECT_THAT(MovesAfter({2'097'152, 2'097'153}), ElementsAre(0, 9 + 9));
}

TEST_F(Queue, AnnouncesAFullDiskAndAFileThatCannotBeRotatedOnceAndGoesOn) {
  m_log->SetRotation(0, 3);
  testing::internal::CaptureStdout();
  EXPECT_THAT(MovesAfter({append_result::kNotWritten, append_result::kNotWritten, 10, 10}),
              ElementsAre(0, 0, 2 + 2, 2 * (2 + 2)));
  m_files.SetContent("t.log", "can be moved");
  EXPECT_THAT(MovesAfter({10, 10, append_result::kNotWritten}), ElementsAre(12, 16, 16));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Unable to write t.log\nUnable to rotate t.log\n"
            "Unable to rotate t.log\nUnable to write t.log\n");
}

TEST_F(Queue, EchoesFromTheFirstParenthesisUnlessToldNotTo) {
  testing::internal::CaptureStdout();
  QNLogger log("echo.log", 4, m_platform);
  log.SetMaxQueueSize(10);  // So that marker lines are written too.
  for (const char* const record : {"one (more)", "silent"}) {
    log.Write(record);
    EXPECT_EQ(log.Flush(), 0U);
    log.SetConsoleEcho(false);
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "(" + std::to_string(m_thread) + ") one (more)\n");
}

TEST_F(Queue, IsWrittenWithoutAFlushWhichReturnsTheResultOfItsWaits) {
  Flush();
  EXPECT_EQ(m_sync.ThreadsMade(), 0U);
  for (const int line : {1, 2, 3}) {
    Write("a");
    EXPECT_TRUE(IsAsleepBehind(line));
  }
  Flush();
  m_sync.mutexWaits.Give(WaitResult::kFailed, 1);
  EXPECT_EQ(m_log->Flush(), 0xFFFFFFFFU);
  m_sync.eventWaits.Give(WaitResult::kTimedOut, 1);
  EXPECT_EQ(m_log->Flush(), 0x102U);
}

TEST_F(Queue, HoldsEveryLineOfManyProducersOnceAndBeforeTheirFlush) {
  m_log->SetMaxQueueSize(50);  // Less than two lines, so that the throttle has its say as well.
  std::vector<std::jthread> producers;
  for (const char producer : {'a', 'b', 'c', 'd'}) {
    producers.emplace_back([this, producer] {
      for (int n = 0; n < 40; ++n) {
        m_log->Write(producer + std::to_string(n));
        Flush();
        EXPECT_THAT(Records(), testing::Contains(producer + std::to_string(n)).Times(1));
      }
    });
  }
  producers.clear();
  EXPECT_EQ(std::ranges::count_if(Records(), [](const auto& line) { return line[0] != '-'; }), 160);
  EXPECT_EQ(m_sync.ThreadsMade(), 1U);
}

}  // namespace
}  // namespace tlk::test
