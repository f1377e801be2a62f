#include "tests/log/LogFixture.h"

namespace tlk::test {

using Queue = LogFixture;

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
  EXPECT_THAT(testing::internal::GetCapturedStdout(), StartsWith("Unable to open t.log\n"));
}

TEST_F(Queue, RotatesBehindTheLimitAndAnnouncesItsTroublesOnceAndGoesOn) {
  EXPECT_EQ(m_log->GetDirectory(), "");
  EXPECT_EQ(m_log->GetMaxQueueSize(), 512'000);
  EXPECT_EQ(m_log->GetLevel(), 4);
  std::string moves;  // How many files have been moved in all, line by line.
  const auto appendWithResults = [&](std::initializer_list<std::int64_t> results) {
    for (const std::int64_t result : results) {
      m_badLines = {0, kAllLines, result};
      Write("a");
      Flush();
      moves += std::to_string(m_moves) + " ";
    }
  };
  testing::internal::CaptureStdout();
  constexpr auto kFull = append_result::kNotWritten;
  appendWithResults({2'097'152, kFull, kFull, 2'097'153});
  m_log->SetRotation(0, 3);
  appendWithResults({10});
  m_files.SetContent("t.log", "can be moved");
  appendWithResults({10, 10, kFull});
  EXPECT_EQ(moves, "0 0 0 18 22 26 30 30 ");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Unable to write t.log\nUnable to rotate t.log\n"
            "Unable to rotate t.log\nUnable to write t.log\n");
}

TEST_F(Queue, EchoesFromTheFirstParenthesisUnlessToldNotTo) {
  testing::internal::CaptureStdout();
  m_log = std::make_unique<QNLogger>("echo.log", 4, m_platform);
  m_log->SetMaxQueueSize(10);  // So that marker lines are written too.
  for (const char* const record : {"one (more)", "silent"}) {
    m_log->Write(record);
    Flush();
    m_log->SetConsoleEcho(false);
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
  RunOnThreads(4, [this](int producer) {
    for (int n = producer; n < 160; n += 4) {
      m_log->Write(std::to_string(n));
      Flush();
      EXPECT_THAT(Records(), testing::Contains(std::to_string(n)).Times(1));
    }
  });
  EXPECT_EQ(m_sync.ThreadsMade(), 1U);
}

struct Life : LogFixture {
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

TEST_F(Life, WithoutAPartIsAnnouncedAndLeavesALogThatDoesNothing) {
  int call = 0;
  for (const std::string part : {"mutex", "event 1", "event 2", "event 3", "event 4"}) {
    m_sync.anyCall.Fail(++call);
    testing::internal::CaptureStdout();
    QNLogger log("unusable.log", 4, m_platform);
    log.Write("dropped");
    EXPECT_EQ(log.Flush(), 0U);
    LineList lines{"kept"};
    log.CopyLineList(lines);
    EXPECT_THAT(lines, ElementsAre("kept"));  // The list of the process is empty.
    log.GetLineList(lines);
    EXPECT_THAT(lines, ElementsAre());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Unable to create " + part + " - QNLogger\n");
  }
  EXPECT_EQ(m_sync.ThreadsMade(), 0U);
  Write("1");  // What was dropped does not turn up in another log either.
  Flush();
  EXPECT_EQ(Letters(), "1");
}

TEST_F(Life, AWriterWhoseWaitFailsEndsWithoutItsHookAndIsReplaced) {
  ExpectEnd(WaitResult::kFailed, 0xFFFFFFFF, "", 1);
}

TEST_F(Life, AWriterThatIsToldToEndWritesWhatIsQueuedAndIsReplaced) {
  ExpectEnd(WaitResult::kSecondSignalled, 0, "1", 2);
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
  EXPECT_THAT(m_surroundings.Sleeps(), ElementsAre());  // No writer, so nobody to wait for.
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

}  // namespace tlk::test
