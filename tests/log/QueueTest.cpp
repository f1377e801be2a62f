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
  // Records of one letter each, whose stored lines are 60 bytes long.
  Strings Sixties(std::string_view letters) const {
    const auto thread = static_cast<std::int32_t>(m_sync.CurrentThreadId());
    const std::size_t head = 23 + 3 + std::to_string(thread).size() + 2;
    Strings records;
    for (const char letter : letters) records.emplace_back(60 - head, letter);
    return records;
  }

  // The first letter of each written record, and a sign for a marker line.
  std::string Order() {
    std::string order;
    for (const std::string& record : Written())
      order += record == kOverflow ? '>' : record == kCleared ? '<' : record.front();
    return order;
  }

  // By append that gives such a result and writes nothing, how many files have been deleted or
  // renamed, or tried to be, in all.
  std::vector<std::ptrdiff_t> MovesAfter(std::initializer_list<std::int64_t> appendResults) {
    std::vector<std::ptrdiff_t> moves;
    for (const std::int64_t result : appendResults) {
      m_answer = [result](int /*line*/) { return result; };
      m_log->Write("a");
      EXPECT_EQ(m_log->Flush(), 0U);
      moves.push_back(std::ranges::count_if(m_files.Calls(), [](const FileCall& call) {
        return call.kind != FileCall::Kind::kAppend;
      }));
    }
    return moves;
  }
};

TEST_F(Queue, HoldsProducersBackUntilItIsHalfEmpty) {
  WriteAndStop("first");
  m_log->SetMaxQueueSize(300);
  Write(Sixties("abcde"));
  StopBehind(1);  // Before "a": the limit was reached, not passed.
  m_log->SetMaxQueueSize(202);
  StopBehind(2);  // Before the overflow marker; the throttle is closed.
  auto producer = std::async(std::launch::async, [this] { m_log->Write("late"); });
  EXPECT_TRUE(AreWaiting(1));
  // Of 240 bytes the marker takes 79 that nobody counted in: half of the limit is left before "c".
  StopBehind(4);
  EXPECT_TRUE(AreWaiting(1));
  StopBehind(5);  // Before the other marker.
  EXPECT_TRUE(AreWaiting(0));
  m_permits = kAllLines;
  producer.get();
  EXPECT_EQ(Order(), "fa>bc<del");
}

TEST_F(Queue, OverflowsWhileTheWriterStillHasLines) {
  m_log->SetMaxQueueSize(300);
  WriteAndStop("first");
  Write(Sixties("abc"));
  StopBehind(1);
  Write(Sixties("defg"));
  m_permits = kAllLines;
  EXPECT_EQ(Order(), "fa>bcd<efg");
}

TEST_F(Queue, ThatOverflowsWhileTheFileCannotBeOpenedIsTriedOnUntilItIsHalfEmpty) {
  m_answer = [](int line) {
    return line > 1 && line < 7 ? std::optional(append_result::kNotOpened) : std::nullopt;
  };
  m_log->SetMaxQueueSize(200);
  WriteAndStop("first");
  Write(Sixties("abcdef"));
  testing::internal::CaptureStdout();
  m_permits = kAllLines;
  // Three times the marker, and "a". The next was asked for by those who queued lines, and is "b".
  EXPECT_TRUE(IsAsleepBehind(6));
  m_log->Write("next");
  EXPECT_EQ(Order(), "fcdefn");
  std::string announced;
  for (int line = 2; line <= 6; ++line) announced += "Unable to open t.log\n";
  EXPECT_EQ(testing::internal::GetCapturedStdout(), announced);
}

class QueueOfAFileThatCannotBeOpened : public Queue {
 protected:
  QueueOfAFileThatCannotBeOpened() {
    m_answer = [this](int line) {
      return line > 1 && line <= m_last ? std::optional(append_result::kNotOpened) : std::nullopt;
    };
    WriteAndStop("first");
    Write({"a", "b", "c"});
    StopBehind(1);  // It has taken them all.
    m_log->Write("d");
  }

  int m_last = 2;  ///< Line that is lost.
};

TEST_F(QueueOfAFileThatCannotBeOpened, LosesTheLineAtHandAndKeepsTheOthersInOrder) {
  const auto flush = [this] { return m_log->Flush(); };
  auto first = std::async(std::launch::async, flush);
  auto second = std::async(std::launch::async, flush);
  EXPECT_TRUE(AreWaiting(2));
  m_permits = kAllLines;
  EXPECT_EQ(first.get() + second.get(), 0U);
  EXPECT_THAT(Records(), ElementsAre("first", "b", "c", "d"));
}

TEST_F(QueueOfAFileThatCannotBeOpened, LeavesTheOthersToWhicheverLogIsNext) {
  m_last = 3;
  m_permits = kAllLines;
  EXPECT_TRUE(IsAsleepBehind(3));
  QNLogger other("other.log", 4, m_platform);
  other.SetConsoleEcho(false);
  other.Write("e");
  EXPECT_EQ(other.Flush(), 0U);
  EXPECT_THAT(Records("other.log"), ElementsAre("c", "d", "e"));
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
  const std::string thread = std::to_string(static_cast<std::int32_t>(m_sync.CurrentThreadId()));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "(" + thread + ") one (more)\n");
}

TEST_F(Queue, IsWrittenWithoutAFlushWhichReturnsTheResultOfItsWaits) {
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_EQ(m_sync.ThreadsMade(), 0U);
  for (const std::size_t lines : {1, 2, 3}) {
    m_log->Write("a");
    EXPECT_TRUE(Eventually([&] { return Records().size() == lines; }));
  }
  EXPECT_EQ(m_log->Flush(), 0U);
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
        const std::string mine = producer + std::to_string(n);
        m_log->Write(mine);
        EXPECT_THAT(Written(), testing::Contains(mine).Times(1));
      }
    });
  }
  producers.clear();
  EXPECT_EQ(std::ranges::count_if(Written(), [](const auto& line) { return line[0] != '-'; }), 160);
  EXPECT_EQ(m_sync.ThreadsMade(), 1U);
}

TEST_F(Queue, WithoutAThreadAsksForOneWithEachLine) {
  m_sync.refusesThreads = true;
  Write({"a", "b"});
  EXPECT_THAT(Written(), IsEmpty());
  m_sync.refusesThreads = false;
  m_log->Write("c");
  EXPECT_THAT(Written(), ElementsAre("a", "b", "c"));
}

}  // namespace
}  // namespace tlk::test
