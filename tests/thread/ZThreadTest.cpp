#include "thread/ZThread.h"

#include <array>

#include "tests/thread/ThreadFixture.h"
#include "thread/Reporter.h"
#include "thread/SpinWord.h"

namespace tlk {

struct ZThreadTest : test::ThreadFixture {
  struct Worker final : ZThread {
    explicit Worker(ZThreadTest& owner) : ZThread("worker"), test(owner) {}
    ~Worker() override { test.endedOn = Current(); }
    void Run() override { test.work(); }
    ZThreadTest& test;
  };

  /// True when the thread of the work had its object to the end.
  bool Run(std::function<void()> given) {
    work = std::move(given);
    auto* const worker = new Worker(*this);
    const auto handle = worker->Handle();
    EXPECT_EQ(handle->Wait(10), WaitResult::kTimedOut);
    EXPECT_FALSE(worker->IsStarted());
    worker->Start();
    EXPECT_EQ(handle->Wait(kNoLimit), WaitResult::kSignalled);
    return endedOn == worker;
  }

  std::function<void()> work;
  const ZThread* endedOn = nullptr;
};

TEST_F(ZThreadTest, RunsOnceItIsStartedAndThenDestroysItself) {
  EXPECT_TRUE(Run([&] {
    EXPECT_TRUE(ZThread::Current()->IsStarted());
    EXPECT_EQ(ZThread::Current()->Id(), system.CurrentThreadId());
  }));
  EXPECT_EQ(system.leftOpen, 1);
  std::thread([] { EXPECT_EQ(ZThread::Current(), nullptr); }).join();
  system.anyCall.Fail(1);
  EXPECT_THROW(Worker refused(*this), std::bad_alloc);
}

TEST_F(ZThreadTest, ReportsWhatItsWorkThrows) {
  testing::internal::CaptureStderr();
  const std::string whole(1003, 'm');  // "Uncaught exception: " takes twenty.
  EXPECT_TRUE(Run([] { throw std::runtime_error("boom %s"); }));
  EXPECT_TRUE(Run([&] { throw std::runtime_error(whole + "m"); }));
  EXPECT_TRUE(Run([] { throw 7; }));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Uncaught exception: boom %s, ZThread:468\nUncaught exception: " + whole +
                ",Uncaught exception, unknown type, ZThread:472\n");
}

TEST_F(ZThreadTest, SleepsInPiecesOfWholeMilliseconds) {
  for (const auto count : {2'500LL, 0LL, -1LL, 1LL, 999LL, 2'147'484'648LL}) ZThread::Sleep(count);
  EXPECT_THAT(surroundings.Sleeps(), testing::ElementsAre(2, 0, 0, 1'073'741, 1'073'741, 1));
}

TEST_F(ZThreadTest, WaitsInStepsUntilTheDeadline) {
  struct Steps final : Waitable {
    WaitResult Wait(std::uint32_t milliseconds) override {
      ThreadLayer::Ports().surroundings.Sleep(milliseconds + 1);
      return --waitsLeft == 0 ? WaitResult::kSignalled : WaitResult::kTimedOut;
    }
    int waitsLeft = 6;
  } steps;
  const std::array<std::int64_t, 4> ends{INT64_MIN, 1'000'000'000, 1'000'000'900, 1'002'500'900};
  for (const std::int64_t deadline : ends) EXPECT_FALSE(ZThread::WaitUntil(steps, deadline));
  EXPECT_TRUE(ZThread::WaitUntil(steps, INT64_MAX));
  EXPECT_THAT(surroundings.Sleeps(), testing::ElementsAre(1, 1001, 1001, 498, 1001, 1001));
}

TEST_F(ZThreadTest, TellsTheTimesOfTheProcessInMicroseconds) {
  std::array<std::int64_t, 4> read{-1, -1};
  ZThread::ProcessTimes(read[0], read[1]);
  surroundings.processTimes = {.now = 9'000'000'000'000'009, .processor = 129};
  ZThread::ProcessTimes(read[2], read[3]);
  EXPECT_THAT(read, testing::ElementsAre(0, 0, 900'000'000'000'000, 12));
}

TEST_F(ZThreadTest, HasARecordOfTheMainThreadInTheOutermostScope) {
  const ZThread* const record = ZThread::MainThread();
  const std::weak_ptr<Waitable> handle = record->Handle();
  { const ThreadLayer inner; }
  EXPECT_EQ(ZThread::Current(), record);
  EXPECT_EQ(record->Id(), system.CurrentThreadId());
  EXPECT_TRUE(record->IsStarted() && !handle.expired());
  layer.reset();
  EXPECT_TRUE(handle.expired() && system.leftOpen == 0);
  EXPECT_TRUE(ZThread::Current() == nullptr && ZThread::MainThread() == nullptr);
  EXPECT_EQ(&ThreadLayer::Ports(), &SystemPlatform());
  system.anyCall.Fail(2);  // A thread slot.
  layer.emplace(platform);
  EXPECT_FALSE(Run([] {}));
}

TEST_F(ZThreadTest, YieldsUntilTheSpinWordIsFree) {
  SpinWord word;
  int count = 0;
  word.Acquire();
  auto other = std::async(std::launch::async, [&] {
    const SpinLock lock(word);
    return ++count;
  });
  while (surroundings.Sleeps().empty()) std::this_thread::yield();
  ++count;
  word.Release();
  EXPECT_EQ(other.get(), 2);
  const SpinLock again(word);
  EXPECT_THAT(surroundings.Sleeps(), testing::Each(0));
}

TEST(SpinWordDeathTest, EndsTheProcessWhenNobodyHadIt) {
  EXPECT_EXIT(SpinWord().Release(), testing::ExitedWithCode(0),
              "^Assertion failed: priorValue == 1, ZThread:518\n$");
}

TEST(Reporter, PrintsWhatItIsGivenUpTo1024Characters) {
  const std::string whole(1016, 'm');  // ", Z:518\n" takes eight.
  const std::string longer = whole + "m";
  testing::internal::CaptureStderr();
  Report(Fatal::kNo, "ZThread", 1, "100%d", "%s");
  Report(Fatal::kNo, "a/b/ZThread", 2, "a == 1", nullptr);
  Report(Fatal::kNo, "/ZThread", 3, nullptr, "boom");
  Report(Fatal::kNo, "a\\b\\ZThread", 4, nullptr, nullptr);
  Report(Fatal::kNo, "Z", 518, nullptr, whole.c_str());
  Report(Fatal::kNo, "Z", 518, nullptr, longer.c_str());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Assertion failed: 100%d. %s, ZThread:1\nAssertion failed: a == 1, ZThread:2\n"
            "boom, ZThread:3\na\\b\\ZThread:4\n" +
                whole + ", Z:518\n" + longer + ", Z:518");
  EXPECT_STREQ(FormatText("%s-%d", "boom", 7), "boom-7");
  EXPECT_EQ(FormatText("%s", (whole + whole).c_str()), std::string(1023, 'm'));
}

}  // namespace tlk
