#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "log/QNLogger.h"
#include "platform/Platform.h"

namespace tlk::test {
namespace {

namespace fs = std::filesystem;

/// A log in a real folder, on a disk that has room for so much in a file.
class DiskFullTest : public testing::Test {
 protected:
  DiskFullTest() {
    fs::create_directory(m_folder);
    getrlimit(RLIMIT_FSIZE, &m_usual);
    m_log.SetConsoleEcho(false);
    m_log.SetDirectory(m_folder);
  }
  ~DiskFullTest() override {
    GiveRoom(m_usual.rlim_max);
    fs::remove_all(m_folder);
  }

  void GiveRoom(rlim_t bytes) const {
    const rlimit limit{bytes, m_usual.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }

  [[nodiscard]] std::vector<std::string> Lines() const {
    std::ifstream file(m_folder / "full.log");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
  }

  const fs::path m_folder = fs::path(testing::TempDir()) / ("full" + std::to_string(getpid()));
  QNLogger m_log{"full.log", 4, SystemPlatform()};

 private:
  rlimit m_usual{};
};

TEST_F(DiskFullTest, LosesWholeRecordsHoldsNobodyBackAndGoesOnWhenThereIsRoom) {
  constexpr std::size_t kRecords = 20'000;  // Far more than the queue may hold.
  constexpr rlim_t kRoom = 100'000;
  const std::string record(60, 'x');
  GiveRoom(kRoom);
  for (std::size_t i = 0; i < kRecords; ++i) m_log.Write(record);
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_LE(fs::file_size(m_folder / "full.log"), kRoom);
  const auto held = Lines();
  EXPECT_THAT(held, testing::SizeIs(testing::AllOf(testing::Gt(500U), testing::Lt(kRecords))));
  const auto torn = std::ranges::count_if(held, [&](const std::string& line) {
    return !line.ends_with(record) && !line.starts_with("-----");
  });
  EXPECT_EQ(torn, 0);

  GiveRoom(2 * kRoom);
  m_log.Write("room again");
  EXPECT_EQ(m_log.Flush(), 0U);
  EXPECT_THAT(Lines(), testing::SizeIs(held.size() + 1));
  EXPECT_THAT(Lines().back(), testing::EndsWith("room again"));
}

}  // namespace
}  // namespace tlk::test
