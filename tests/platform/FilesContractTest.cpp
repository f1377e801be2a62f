// What every platform's log files hold to.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Synchronisation.h"

namespace tlk {
namespace {

namespace fs = std::filesystem;

class FilesContract : public testing::Test {
 protected:
  FilesContract() { fs::create_directory(m_folder); }
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
  const fs::path m_folder =
      fs::temp_directory_path() /
      ("tlk-files-" + std::to_string(SystemPlatform().synchronisation.CurrentThreadId()));
};

TEST_F(FilesContract, AppendsLinesAndTellsTheSize) {
  const std::vector<std::string> lines{"first", "", std::string(100'000, 'x')};
  for (const std::string& line : lines) {
    const std::int64_t size = m_files.AppendLine(Path("a.log"), line);
    EXPECT_EQ(size, static_cast<std::int64_t>(fs::file_size(Path("a.log"))));
  }
  EXPECT_EQ(LinesOf(Path("a.log")), lines);
  std::string read;
  const auto take = [&read](std::string_view piece) { read += piece; };
  EXPECT_TRUE(m_files.Read(Path("a.log"), take));
  EXPECT_EQ(read.size(), fs::file_size(Path("a.log")));
  EXPECT_TRUE(read.starts_with("first"));
  for (const char* notOpened : {"missing/a.log", "."}) {
    EXPECT_EQ(m_files.AppendLine(Path(notOpened), "line"), append_result::kNotOpened);
    EXPECT_FALSE(m_files.Read(Path(notOpened), take));
  }
}

TEST_F(FilesContract, RotatesOnlyALargerFileAndOnlyOnceAtATime) {
  const std::string path = Path("a.log");
  const std::int64_t size = m_files.AppendLine(path, "line");
  int calls = 0;
  const auto rotate = [&] {
    ++calls;
    EXPECT_TRUE(m_files.RotateAlone(path, 0, [&] { return (calls += 100) == 0; }));
    EXPECT_TRUE(m_files.Rename(path, Path("a1.log")));
    return m_files.AppendLine(path, "next") > 0;
  };
  EXPECT_TRUE(m_files.RotateAlone(path, size, rotate));
  EXPECT_EQ(calls, 0);
  EXPECT_TRUE(m_files.RotateAlone(path, size - 1, rotate));
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(m_files.RotateAlone(Path("missing.log"), -1, rotate));
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(m_files.RotateAlone(path, 0, [] { return false; }));
  EXPECT_EQ(LinesOf(Path("a1.log")), std::vector<std::string>{"line"});
}

TEST_F(FilesContract, ListsAFolderRenamesOverNothingAndRemovesFilesOnly) {
  for (const char* name : {"a.log", "b.log"}) ASSERT_GT(m_files.AppendLine(Path(name), name), 0);
  std::set<std::string> paths;
  const auto visit = [&paths](std::string_view path) { paths.emplace(path); };
  EXPECT_TRUE(m_files.VisitFolder(Path("missing.log"), visit));
  EXPECT_EQ(paths, (std::set{Path("."), Path(".."), Path("a.log"), Path("b.log")}));
  EXPECT_FALSE(m_files.VisitFolder(Path("missing/a.log"), visit));
  EXPECT_FALSE(m_files.Rename(Path("a.log"), Path("b.log")));
  EXPECT_FALSE(m_files.Rename(Path("missing.log"), Path("c.log")));
  EXPECT_FALSE(m_files.Rename(Path("a.log"), Path("missing/a.log")));
  EXPECT_EQ(LinesOf(Path("b.log")), std::vector<std::string>{"b.log"});
  EXPECT_TRUE(m_files.Rename(Path("a.log"), Path("c.log")));
  EXPECT_EQ(LinesOf(Path("c.log")), std::vector<std::string>{"a.log"});

  fs::create_directory(Path("folder"));
  EXPECT_FALSE(m_files.Remove(Path("folder")));
  EXPECT_FALSE(m_files.Remove(Path("a.log")));
  EXPECT_TRUE(m_files.Remove(Path("c.log")));
  EXPECT_FALSE(fs::exists(Path("c.log")));
}

}  // namespace
}  // namespace tlk
