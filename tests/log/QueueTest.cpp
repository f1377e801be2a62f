#include <algorithm>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kOverflow =
    "---------------------------- max logger queue size ----------------------------";
const std::string kCleared =
    "---------------------------- logger queue cleared ----------------------------";

class Queue : public LogFixture {
 protected:
  // A record whose stored line is 60 bytes long.
  std::string Sixty(char letter) const {
    const auto thread = static_cast<std::int32_t>(m_sync.CurrentThreadId());
    const std::size_t head = 23 + 3 + std::to_string(thread).size() + 2;
    return std::string(60 - head, letter);
  }

  // Every append from now on gives this result and writes nothing.
  void AnswerAppends(std::int64_t result) {
    m_files.HealAll();
    m_files.FailWhen([](const FileCall& call) { return call.kind == FileCall::Kind::kAppend; },
                     result);
  }

  // How many files were deleted or renamed, or tried to be, when an append has given this result.
  std::ptrdiff_t MovesAfter(std::int64_t appendResult) {
    AnswerAppends(appendResult);
    m_log->Write("a");
    EXPECT_EQ(m_log->Flush(), 0U);
    return std::ranges::count_if(
        m_files.Calls(), [](const FileCall& call) { return call.kind != FileCall::Kind::kAppend; });
  }
};

TEST_F(Queue, HoldsProducersBackUntilItIsHalfEmpty) {
  StopWriter();
  m_log->Write("first");
  EXPECT_TRUE(IsStoppedAt(1));
  m_log->SetMaxQueueSize(300);
  for (const char letter : {'a', 'b', 'c', 'd', 'e'}) m_log->Write(Sixty(letter));
  m_permits = 1;
  EXPECT_TRUE(IsStoppedAt(2));  // With "a": the limit was reached, not passed.
  m_log->SetMaxQueueSize(200);
  m_permits = 2;
  EXPECT_TRUE(IsStoppedAt(3));  // With the overflow marker; the throttle is closed.
  auto producer = std::async(std::launch::async, [this] { m_log->Write("late"); });
  EXPECT_TRUE(Eventually([this] { return m_sync.waitingForEvents == 1; }));

  // Of 240 bytes the marker takes 79 that nobody counted in, so 41 are left behind "c".
  m_permits = 4;
  EXPECT_TRUE(IsStoppedAt(5));
  EXPECT_EQ(m_sync.waitingForEvents, 1);  // Nobody has looked at what is left yet.

  m_permits = kAllLines;
  producer.get();
  EXPECT_THAT(Written(), ElementsAre("first", Sixty('a'), kOverflow, Sixty('b'), Sixty('c'),
                                     kCleared, Sixty('d'), Sixty('e'), "late"));
}

TEST_F(Queue, OverflowsWhileTheWriterStillHasLines) {
  StopWriter();
  m_log->SetMaxQueueSize(300);
  m_log->Write("first");
  EXPECT_TRUE(IsStoppedAt(1));
  for (const char letter : {'a', 'b', 'c'}) m_log->Write(Sixty(letter));
  m_permits = 1;
  EXPECT_TRUE(IsStoppedAt(2));
  for (const char letter : {'d', 'e', 'f', 'g'}) m_log->Write(Sixty(letter));
  m_permits = kAllLines;
  EXPECT_THAT(Written(), ElementsAre("first", Sixty('a'), kOverflow, Sixty('b'), Sixty('c'),
                                     Sixty('d'), kCleared, Sixty('e'), Sixty('f'), Sixty('g')));
}

TEST_F(Queue, ThatOverflowsWhileTheFileCannotBeOpenedHoldsNobodyForEver) {
  testing::internal::CaptureStdout();
  for (const std::int32_t limit : {500, -500}) {
    m_log->SetMaxQueueSize(limit);
    AnswerAppends(append_result::kNotOpened);
    for (int i = 0; i < 500; ++i) m_log->Write(Sixty('x'));
    m_files.HealAll();
    m_log->Write("back " + std::to_string(limit));
    EXPECT_THAT(Written(), testing::Contains("back " + std::to_string(limit)));
  }
  testing::internal::GetCapturedStdout();
}

TEST_F(Queue, LosesTheLineOfAFileThatCannotBeOpenedAndKeepsTheNext) {
  StopWriter();
  m_files.FailNth(FileCall::Kind::kAppend, 1);
  m_log->SetDirectory("/gone");
  testing::internal::CaptureStdout();
  m_log->Write("lost");
  EXPECT_TRUE(IsStoppedAt(1));
  m_log->Write("kept");
  const auto flush = [this] { return m_log->Flush(); };
  auto first = std::async(std::launch::async, flush);
  auto second = std::async(std::launch::async, flush);
  EXPECT_TRUE(Eventually([this] { return m_sync.waitingForEvents == 2; }));
  m_permits = kAllLines;
  EXPECT_EQ(first.get(), 0U);
  EXPECT_EQ(second.get(), 0U);
  EXPECT_THAT(Records("/gone/t.log"), ElementsAre("kept"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Unable to open /gone/t.log\n");
}

TEST_F(Queue, StartsWithTheseSettings) {
  EXPECT_EQ(m_log->GetDirectory(), "");
  EXPECT_EQ(m_log->GetMaxQueueSize(), 512'000);
  EXPECT_EQ(m_log->GetLevel(), 4);
  EXPECT_EQ(MovesAfter(2'097'152), 0);
  EXPECT_EQ(MovesAfter(2'097'153), 9 + 9);  // Nine deleted, nine renamed.
}

TEST_F(Queue, AnnouncesAFullDiskAndAFileThatCannotBeRotatedOnceAndGoesOn) {
  m_log->SetRotation(0, 3);
  testing::internal::CaptureStdout();
  EXPECT_EQ(MovesAfter(append_result::kNotWritten), 0);
  EXPECT_EQ(MovesAfter(append_result::kNotWritten), 0);
  EXPECT_EQ(MovesAfter(10), 2 + 2);
  EXPECT_EQ(MovesAfter(10), 2 * (2 + 2));
  m_files.SetContent("t.log", "can be moved");
  EXPECT_EQ(MovesAfter(10), 3 * (2 + 2));
  EXPECT_EQ(MovesAfter(10), 4 * (2 + 2));
  EXPECT_EQ(MovesAfter(append_result::kNotWritten), 4 * (2 + 2));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Unable to write t.log\nUnable to rotate t.log\n"
            "Unable to rotate t.log\nUnable to write t.log\n");
}

TEST_F(Queue, EchoesFromTheFirstParenthesisUnlessToldNotTo) {
  testing::internal::CaptureStdout();
  QNLogger log("echo.log", 4, m_platform);
  log.SetMaxQueueSize(10);  // So that marker lines are written too.
  log.Write("one (more)");
  EXPECT_EQ(log.Flush(), 0U);
  log.SetConsoleEcho(false);
  log.Write("silent");
  EXPECT_EQ(log.Flush(), 0U);
  const std::string thread = std::to_string(static_cast<std::int32_t>(m_sync.CurrentThreadId()));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "(" + thread + ") one (more)\n");
}

TEST_F(Queue, FlushReturnsTheResultOfItsWaits) {
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_EQ(m_sync.ThreadsMade(), 0U);
  m_log->Write("a");
  EXPECT_THAT(Written(), ElementsAre("a"));
  m_sync.mutexWaits.Give(WaitResult::kFailed, 1);
  EXPECT_EQ(m_log->Flush(), 0xFFFFFFFFU);
  m_sync.eventWaits.Give(WaitResult::kTimedOut, 1);
  EXPECT_EQ(m_log->Flush(), 0x102U);
}

TEST_F(Queue, HoldsEveryLineOfManyProducersOnceAndBeforeTheirFlush) {
  constexpr int kLines = 40;
  m_log->SetMaxQueueSize(50);  // Less than two lines, so that the throttle has its say as well.
  std::vector<std::jthread> producers;
  for (const char producer : {'a', 'b', 'c', 'd'}) {
    producers.emplace_back([this, producer] {
      for (int n = 0; n < kLines; ++n) {
        const std::string mine = producer + std::to_string(n);
        m_log->Write(mine);
        EXPECT_THAT(Written(), testing::Contains(mine));
      }
    });
  }
  producers.clear();
  std::vector<std::string> lines = Written();
  std::erase(lines, kOverflow);
  std::erase(lines, kCleared);
  EXPECT_EQ(lines.size(), 4U * kLines);
  EXPECT_EQ(m_sync.ThreadsMade(), 1U);
}

TEST_F(Queue, OfALogWithoutAThreadIsWrittenByAnyOther) {
  m_sync.refusesThreads = true;
  m_log->Write("of the first");
  EXPECT_THAT(Written(), IsEmpty());
  m_sync.refusesThreads = false;
  {
    QNLogger other("other.log", 4, m_platform);
    other.SetConsoleEcho(false);
    other.Write("of the other");
    EXPECT_EQ(other.Flush(), 0U);
    EXPECT_THAT(Records("other.log"), ElementsAre("of the first", "of the other"));
  }
  m_sync.WaitForThreads();  // Or the other one writes what comes next, too.
  m_log->Write("later");
  EXPECT_THAT(Written(), ElementsAre("later"));
}

}  // namespace
}  // namespace tlk::test
