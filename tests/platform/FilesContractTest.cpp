// What every platform's log files hold to.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Surroundings.h"
#include "platform/Synchronisation.h"

namespace tlk {
namespace {

namespace fs = std::filesystem;

class FilesContract : public testing::Test {
 protected:
  FilesContract() {
    std::array<char, 4096> buffer{};
    EXPECT_NE(SystemPlatform().surroundings.TemporaryFolder(buffer), 0U);
    const auto number = SystemPlatform().synchronisation.CurrentThreadId();
    m_folder = fs::path(buffer.data()) / ("tlk-files-contract-" + std::to_string(number));
    fs::remove_all(m_folder);
    fs::create_directory(m_folder);
  }

  ~FilesContract() override { fs::remove_all(m_folder); }

  [[nodiscard]] std::string Path(const char* name) const { return (m_folder / name).string(); }

  [[nodiscard]] static std::vector<std::string> LinesOf(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
  }

  Files& m_files = SystemPlatform().files;

 private:
  fs::path m_folder;
};

TEST_F(FilesContract, AppendsLinesAndTellsTheSize) {
  const std::string path = Path("a.log");
  const std::string longLine(100'000, 'x');
  for (const std::string& line : {std::string("first"), std::string(), longLine}) {
    const std::int64_t size = m_files.AppendLine(path, line);
    EXPECT_EQ(size, static_cast<std::int64_t>(fs::file_size(path)));
  }
  EXPECT_EQ(LinesOf(path), (std::vector<std::string>{"first", "", longLine}));
}

TEST_F(FilesContract, OpensNothingInAFolderThatIsNotThereNorAFolderItself) {
  EXPECT_EQ(m_files.AppendLine(Path("missing/a.log"), "line"), append_result::kNotOpened);
  EXPECT_EQ(m_files.AppendLine(Path("."), "line"), append_result::kNotOpened);
}

TEST_F(FilesContract, KeepsLinesOfSeveralThreadsWhole) {
  constexpr size_t kThreads = 4;
  constexpr size_t kLines = 100;
  const std::string path = Path("a.log");
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (char letter = 'a'; threads.size() < kThreads; ++letter) {
    threads.emplace_back([&, line = std::string(500, letter)] {
      for (size_t n = 0; n < kLines; ++n) EXPECT_GT(m_files.AppendLine(path, line), 0);
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::vector<std::string> lines = LinesOf(path);
  EXPECT_EQ(lines.size(), kThreads * kLines);
  for (const std::string& line : lines) EXPECT_EQ(line, std::string(500, line[0]));
}

TEST_F(FilesContract, RenamesOnlyWhatIsThereToWhatIsNot) {
  ASSERT_GT(m_files.AppendLine(Path("a.log"), "a"), 0);
  ASSERT_GT(m_files.AppendLine(Path("b.log"), "b"), 0);
  EXPECT_FALSE(m_files.Rename(Path("a.log"), Path("b.log")));
  EXPECT_FALSE(m_files.Rename(Path("missing.log"), Path("c.log")));
  EXPECT_FALSE(m_files.Rename(Path("a.log"), Path("missing/a.log")));
  EXPECT_EQ(LinesOf(Path("b.log")), std::vector<std::string>{"b"});
  EXPECT_TRUE(m_files.Rename(Path("a.log"), Path("c.log")));
  EXPECT_EQ(LinesOf(Path("c.log")), std::vector<std::string>{"a"});
  EXPECT_FALSE(fs::exists(Path("a.log")));
}

TEST_F(FilesContract, RemovesFilesAndNothingElse) {
  ASSERT_GT(m_files.AppendLine(Path("a.log"), "a"), 0);
  fs::create_directory(Path("folder"));
  EXPECT_TRUE(m_files.Remove(Path("a.log")));
  EXPECT_FALSE(m_files.Remove(Path("a.log")));
  EXPECT_FALSE(m_files.Remove(Path("folder")));
  EXPECT_TRUE(fs::exists(Path("folder")));
}

}  // namespace
}  // namespace tlk
