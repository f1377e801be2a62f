#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "tests/log/LogFixture.h"
#include "tests/scripted/ScarceMemory.h"
#include "thread/ThreadLayer.h"
#include "thread/ZThread.h"

namespace tlk::test {

/// Forks, with as much memory; the child does its work without a failure and comes to its end.
void InChild(const auto& work, MemoryLimit* limit = nullptr) {
  std::fflush(nullptr);
  t_memoryLimit = limit;
  const pid_t child = fork();
  t_memoryLimit = nullptr;
  if (child == 0) {
    alarm(30);
    work();
    std::fflush(nullptr);
    std::_Exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
  }
  int status = -1;
  EXPECT_TRUE(waitpid(child, &status, 0) == child && status == 0);
}

using Fork = LogFixture;

// Lines were lost in the child, a flush never returned, and a log made there crashed.
TEST_F(Fork, GivesTheChildALogThatWorksAndLeavesItsLinesToTheParent) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP()
      << "The thread sanitizer ends a child that starts a thread where its parent had one.";
#endif
  const ThreadLayer layer;
  // Writes to the log that was there before, and to one made here.
  const auto expectNewLines = [this](const std::string& line, const std::string& lines) {
    m_permits = kAllLines;
    m_log->SetMaxQueueSize(512'000);
    QNLogger own("own.log", 4, m_platform);
    for (QNLogger* log : {m_log.get(), &own}) {
      log->SetConsoleEcho(false);
      log->Write(line);
      EXPECT_EQ(log->Flush(), 0U);
    }
    EXPECT_EQ(Letters("d/t.log") + Letters("own.log"), lines + lines);
  };
  m_log->SetDirectory("d");
  m_log->SetMaxQueueSize(10);
  WriteAndStop("p");
  auto heldBack = std::async(std::launch::async, [this] { Write("h"); });
  EXPECT_TRUE(AreWaiting(1));
  InChild([&] {
    expectNewLines("1", "1");
    EXPECT_EQ(ZThread::MainThread()->Id(), m_sync.CurrentThreadId());
    std::thread([&] { InChild([&] { expectNewLines("2", "12"); }); }).join();
    m_log.reset();
    m_sync.WaitForThreads();
  });
  m_permits = kAllLines;
  heldBack.get();
  Flush();
  EXPECT_THAT(Letters("d/t.log"), testing::MatchesRegex("[ml]*p[ml]*h[ml]*"));
}

// They used to delete what the other had just moved.
TEST_F(Fork, LetsTwoProcessesWriteAndRotateOneLogWithoutALoss) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP()
      << "A child finds the sanitizer's allocator locked if another thread was just in it.";
#endif
  static constexpr int kLines = 5000;
  namespace fs = std::filesystem;
  fs::remove_all("two-processes");
  fs::create_directory("two-processes");
  const auto write = [](const std::string& label) {
    QNLogger log("shared.log", 4);
    log.SetDirectory("two-processes");
    log.SetConsoleEcho(false);
    log.SetRotation(5000, kLines);
    for (int n = 0; n < kLines; ++n) log.Write(label + std::to_string(n));
    EXPECT_EQ(log.Flush(), 0U);
    log.Rest();
  };
  auto child = std::async(std::launch::async, [&] { InChild([&] { write("child"); }); });
  write("parent");
  child.get();
  std::set<std::string> lines;
  int written = 0;
  for (const auto& entry : fs::directory_iterator("two-processes")) {
    std::ifstream file(entry.path());
    for (std::string line; std::getline(file, line); ++written)
      lines.insert(line.substr(line.rfind(") ") + 2));
  }
  EXPECT_EQ(written, 2 * kLines);
  EXPECT_EQ(lines.size(), 2 * kLines);
  fs::remove_all("two-processes");
}

// A child without memory ended at once.
TEST_F(Fork, WithoutMemoryLeavesTheChildALogThatDoesNothing) {
  Write("p");
  Flush();
  MemoryLimit none{.allowed = 0, .refusals = kEveryTime};
  const auto dropLine = [this] {
    Write("d");
    Flush();
    EXPECT_EQ(Letters(), "p");
    m_log.reset();
    EXPECT_THAT(m_surroundings.Sleeps(), ElementsAre());
  };
  InChild(dropLine, &none);
}

}  // namespace tlk::test
