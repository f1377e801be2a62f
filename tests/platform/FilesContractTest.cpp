// What every platform's log files hold to.
#include "tests/platform/FilesFixture.h"

namespace tlk {

using FilesContract = FilesFixture;
using testing::UnorderedElementsAre;

TEST_F(FilesContract, AppendsLinesAndTellsTheSize) {
  std::size_t written = 0;
  for (const std::size_t length : {5U, 0U, 1022U, 1023U, 1024U, 1025U, 100'000U}) {
    const std::int64_t size = Append("a.log", std::string(length, 'x'));
    EXPECT_EQ(size, static_cast<std::int64_t>(fs::file_size(Path("a.log"))));
    const std::string content = ContentOf("a.log");
    EXPECT_EQ(content.substr(written, length), std::string(length, 'x'));
    EXPECT_THAT(content.substr(written + length), testing::AnyOf("\n", "\r\n"));
    written = content.size();
  }
  std::string read;
  const auto take = [&read](std::string_view piece) { read += piece; };
  Append("b.log", std::string(16'384, 'x'));  // and a line end, which may have a piece of its own
  EXPECT_TRUE(m_files.Read(Path("b.log"), take));
  EXPECT_EQ(read, ContentOf("b.log"));
  for (const char* notOpened : {"missing/a.log", "."}) {
    EXPECT_EQ(Append(notOpened), append_result::kNotOpened);
    EXPECT_FALSE(m_files.Read(Path(notOpened), take));
  }
}

TEST_F(FilesContract, RotatesOnlyALargerFileAndOnlyOnceAtATime) {
  const std::string path = Path("a.log");
  const std::int64_t size = Append("a.log");
  int calls = 0;
  const auto rotate = [&] {
    ++calls;
    EXPECT_TRUE(m_files.RotateAlone(path, 0, [&] { return (calls += 100) == 0; }));
    EXPECT_TRUE(m_files.Rename(path, Path("a1.log")));
    return Append("a.log", "next") > 0;
  };
  EXPECT_TRUE(m_files.RotateAlone(path, size, rotate));
  EXPECT_EQ(calls, 0);
  EXPECT_TRUE(m_files.RotateAlone(path, size - 1, rotate));
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(m_files.RotateAlone(Path("missing.log"), -1, rotate));
  EXPECT_FALSE(m_files.RotateAlone(Path("."), -1, rotate));
  EXPECT_EQ(calls, 1);
  for (const bool isMoved : {false, true})
    EXPECT_EQ(m_files.RotateAlone(path, 0, [isMoved] { return isMoved; }), isMoved);
  EXPECT_TRUE(ContentOf("a1.log").starts_with("line"));
}

TEST_F(FilesContract, ListsAFolder) {
  for (const char* name : {"a.log", "b.log"}) ASSERT_GT(Append(name, name), 0);
  std::vector<std::string> paths;
  const auto visit = [&paths](std::string_view path) { paths.emplace_back(path); };
  EXPECT_TRUE(m_files.VisitFolder(Path("missing.log"), visit));
  EXPECT_THAT(paths, UnorderedElementsAre(Path("."), Path(".."), Path("a.log"), Path("b.log")));
  paths.clear();
  EXPECT_FALSE(m_files.VisitFolder(Path("missing/a.log"), visit));
  const fs::path usual = fs::current_path();
  fs::current_path(m_folder);
  EXPECT_TRUE(m_files.VisitFolder("missing.log", visit));
  fs::current_path(usual);
  EXPECT_THAT(paths, UnorderedElementsAre(".", "..", "a.log", "b.log"));
}

TEST_F(FilesContract, RenamesOverNothingAndRemovesFilesOnly) {
  for (const char* name : {"a.log", "b.log"}) ASSERT_GT(Append(name, name), 0);
  for (const auto& [from, to] :
       {std::pair("a.log", "b.log"), {"missing.log", "c.log"}, {"a.log", "missing/a.log"}})
    EXPECT_FALSE(m_files.Rename(Path(from), Path(to)));
  EXPECT_TRUE(m_files.Rename(Path("a.log"), Path("c.log")));
  EXPECT_TRUE(ContentOf("b.log").starts_with("b.log"));
  EXPECT_TRUE(ContentOf("c.log").starts_with("a.log"));
  fs::create_directory(Path("folder"));
  for (const char* name : {"folder", "a.log"}) EXPECT_FALSE(m_files.Remove(Path(name)));
  EXPECT_TRUE(m_files.Remove(Path("c.log")));
  EXPECT_FALSE(fs::exists(Path("c.log")));
}

}  // namespace tlk
