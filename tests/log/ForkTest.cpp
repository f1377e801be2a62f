#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <string>

#include "tests/log/LogFixture.h"
#include "tests/scripted/ScarceMemory.h"
#include "thread/ThreadLayer.h"
#include "thread/ZThread.h"

namespace {
bool g_isChild = false;
}

// To the leak sanitizer all is lost that only threads of the parent refer to.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __lsan_is_turned_off();
int __lsan_is_turned_off() { return g_isChild ? 1 : 0; }
// NOLINTEND(bugprone-reserved-identifier)

namespace tlk::test {
namespace {

/// Whether a forked child does its work, without a failure, and comes to its end.
bool IsDoneInChild(const std::function<void()>& work, void (*end)(int)) {
  constexpr unsigned kSecondsToHang = 30;
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    g_isChild = true;
    alarm(kSecondsToHang);
    work();
    std::fflush(nullptr);
    end(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
  }
  int status = -1;
  return waitpid(child, &status, 0) == child && status == 0;
}

class Fork : public LogFixture {
 protected:
  /// Writes to the log that was there before, and to one made here.
  void ExpectNewLines(const std::string& line, const Strings& records) {
    m_permits = kAllLines;
    m_log->SetMaxQueueSize(512'000);
    QNLogger own("own.log", 4, m_platform);
    own.SetConsoleEcho(false);
    for (QNLogger* log : {m_log.get(), &own}) {
      log->Write(line);
      EXPECT_EQ(log->Flush(), 0U);
    }
    EXPECT_EQ(Records("d/t.log"), records);
    EXPECT_EQ(Records("own.log"), records);
  }
};

// Lines were lost in the child, a flush never returned, and a log made there crashed.
TEST_F(Fork, GivesTheChildALogThatWorksAndLeavesItsLinesToTheParent) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP()
      << "The thread sanitizer ends a child that starts a thread where its parent had one.";
#endif
  const ThreadLayer layer;
  m_log->SetDirectory("d");
  m_log->SetMaxQueueSize(10);
  WriteAndStop("parent's");
  auto heldBack = std::async(std::launch::async, [this] { m_log->Write("held back"); });
  EXPECT_TRUE(AreWaiting(1));
  const auto inGrandchild = [this] { ExpectNewLines("2", {"1", "2"}); };
  const auto inChild = [&] {
    ExpectNewLines("1", {"1"});
    EXPECT_EQ(ZThread::MainThread()->Id(), m_sync.CurrentThreadId());
    auto fork = std::async(std::launch::async, IsDoneInChild, inGrandchild, &_exit);
    EXPECT_TRUE(fork.get());
    m_log.reset();
    m_sync.WaitForThreads();
  };
  EXPECT_TRUE(IsDoneInChild(inChild, &std::exit));
  m_permits = kAllLines;
  heldBack.get();
  EXPECT_EQ(m_log->Flush(), 0U);
  for (const char* line : {"parent's", "held back"})
    EXPECT_THAT(Records("d/t.log"), testing::Contains(line).Times(1));
}

TEST_F(Fork, WithoutMemoryLeavesTheChildALogThatDoesNothing) {
  m_log->Write("parent's");
  EXPECT_EQ(m_log->Flush(), 0U);
  MemoryLimit none;
  none.Set(0, kEveryTime);
  const std::function<void()> inChild = [this] {
    const PlentyOfMemory plenty;
    m_log->Write("dropped");
    EXPECT_THAT(Written(), testing::ElementsAre("parent's"));
    m_log.reset();
    EXPECT_THAT(m_surroundings.Sleeps(), testing::IsEmpty());
  };
  SetMemoryLimit(&none);
  const bool isDone = IsDoneInChild(inChild, &_exit);
  SetMemoryLimit(nullptr);
  EXPECT_TRUE(isDone);
}

}  // namespace
}  // namespace tlk::test
