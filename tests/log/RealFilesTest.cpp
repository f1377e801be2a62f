#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "log/QNLogger.h"
#include "tests/log/LogHarness.h"
#include "tests/log/TemporaryFolder.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;

std::vector<std::string> LinesOf(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

/// The system's own files, and how many lines they were given.
class CountedFiles final : public Files {
 public:
  std::atomic<int> appends{0};

  std::int64_t AppendLine(const std::string& path, std::string_view line) override {
    const std::int64_t size = m_real.AppendLine(path, line);
    ++appends;
    return size;
  }
  bool Remove(const std::string& path) override { return m_real.Remove(path); }
  bool Rename(const std::string& from, const std::string& to) override {
    return m_real.Rename(from, to);
  }

 private:
  Files& m_real = SystemPlatform().files;
};

/// A log on the system's own files, whose end is not waited for by the clock.
class RealFiles : public testing::Test {
 protected:
  RealFiles() {
    m_log.SetDirectory(m_folder.Path());
    m_log.SetConsoleEcho(false);
  }

  std::filesystem::path File(const std::string& name) const {
    return std::filesystem::path(m_folder.Path()) / name;
  }

  TemporaryFolder m_folder;
  CountedFiles m_files;
  LogHarness m_harness;
  Platform m_platform{SystemPlatform().text, SystemPlatform().strings, m_harness.synchronisation,
                      m_harness.surroundings, m_files};
  QNLogger m_log{"real.log", 4, m_platform};
};

TEST_F(RealFiles, AreWholeOnDiskAtEveryMomentAndAppendedTo) {
  std::ofstream(File("real.log")) << "from before\n";
  m_log.Write("one");
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_THAT(LinesOf(File("real.log")), ElementsAre("from before", EndsWith(") one")));
  std::filesystem::rename(File("real.log"), File("moved.log"));
  m_log.Write("two");
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_THAT(LinesOf(File("real.log")), ElementsAre(EndsWith(") two")));
}

TEST_F(RealFiles, SurviveAFolderThatVanishesAndComesBack) {
  StdoutCapture capture;
  const auto folder = File("deep");
  m_log.SetDirectory(folder.string());
  m_log.Write("lost");
  ASSERT_TRUE(Eventually([this] { return m_files.appends == 1; }));
  std::filesystem::create_directory(folder);
  m_log.Write("written");
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_THAT(LinesOf(folder / "real.log"), ElementsAre(EndsWith(") written")));
  EXPECT_EQ(capture.Text(), "Unable to open " + (folder / "real.log").string() + "\n");
}

TEST_F(RealFiles, SurviveAFullDisk) {
  StdoutCapture capture;
  std::filesystem::create_symlink("/dev/full", File("real.log"));
  m_log.Write("lost");
  m_log.Write("lost");
  EXPECT_EQ(m_log.Flush(), 0U);
  std::filesystem::remove(File("real.log"));
  m_log.Write("written");
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_THAT(LinesOf(File("real.log")), ElementsAre(EndsWith(") written")));
  EXPECT_EQ(capture.Text(), "Unable to write " + File("real.log").string() + "\n");
}

TEST_F(RealFiles, KeepTenGenerations) {
  m_log.SetRotation(10, 10);
  for (int i = 0; i < 15; ++i) m_log.Write("record " + std::to_string(i));
  EXPECT_EQ(m_log.Flush(), 0U);
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path()))
    names.insert(entry.path().filename().string());
  EXPECT_THAT(names, ElementsAre("real1.log", "real2.log", "real3.log", "real4.log", "real5.log",
                                 "real6.log", "real7.log", "real8.log", "real9.log"));
  EXPECT_THAT(LinesOf(File("real1.log")), ElementsAre(EndsWith(") record 14")));
  EXPECT_THAT(LinesOf(File("real9.log")), ElementsAre(EndsWith(") record 6")));
}

TEST_F(RealFiles, HoldEveryLineOfManyProducersOnceAndInOrder) {
  constexpr int kLines = 500;
  m_log.SetMaxQueueSize(5'000);  // So that the throttle has its say as well.
  std::array<std::jthread, 4> producers;
  for (int p = 0; p < 4; ++p) {
    producers[static_cast<std::size_t>(p)] = std::jthread([this, p] {
      for (int n = 0; n < kLines; ++n)
        m_log.LogError(0, 115, "P", p, (std::to_string(n) + " of").c_str());
    });
  }
  for (std::jthread& producer : producers) producer.join();
  EXPECT_EQ(m_log.Flush(), 0U);

  std::map<std::string, int> next;  // By the producer's source suffix.
  int markers = 0;
  for (const std::string& line : LinesOf(File("real.log"))) {
    const auto start = line.find(") E ");
    if (start == std::string::npos) {
      ++markers;
      continue;
    }
    const auto producer = line.substr(line.rfind(" ("));
    EXPECT_EQ(line.substr(start + 4), std::to_string(next[producer]++) + " of" + producer);
  }
  EXPECT_THAT(next, ElementsAre(std::pair(" (P - 0)", kLines), std::pair(" (P - 1)", kLines),
                                std::pair(" (P - 2)", kLines), std::pair(" (P - 3)", kLines)));
  EXPECT_EQ(markers % 2, 0);  // Whatever was closed was opened again.
}

}  // namespace
}  // namespace tlk::test
