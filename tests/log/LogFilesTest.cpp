#include "log/LogFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <ostream>
#include <string>

#include "log/QNLogger.h"
#include "tests/log/LogHarness.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;

using Contents = std::map<std::string, std::string>;

Contents ContentsOf(const ScriptedFiles& files) {
  Contents contents;
  for (const std::string& name : files.Names()) contents[name] = files.Content(name).value_or("");
  return contents;
}

void Fill(ScriptedFiles& files, const Contents& contents) {
  for (const auto& [name, content] : contents) files.SetContent(name, content);
}

struct RotationCase {
  const char* what;
  LogPlace place;
  std::int32_t fileCount;
  Contents before;
  Contents after;
};

std::ostream& operator<<(std::ostream& out, const RotationCase& c) { return out << c.what; }

class Rotation : public testing::TestWithParam<RotationCase> {};

TEST_P(Rotation, MovesTheGenerations) {
  const RotationCase& c = GetParam();
  ScriptedFiles files;
  Fill(files, c.before);
  RotateFiles(files, c.place, c.fileCount);
  EXPECT_EQ(ContentsOf(files), c.after);
}

const LogPlace kHere{"", "a.log", '/'};

INSTANTIATE_TEST_SUITE_P(
    Cases, Rotation,
    testing::Values(
        RotationCase{"first time", kHere, 3, {{"a.log", "0"}}, {{"a1.log", "0"}}},
        RotationCase{"the oldest goes",
                     kHere,
                     3,
                     {{"a.log", "0"}, {"a1.log", "1"}, {"a2.log", "2"}, {"a3.log", "3"}},
                     {{"a1.log", "0"}, {"a2.log", "1"}, {"a3.log", "3"}}},
        RotationCase{"a gap lets the oldest go all the same",
                     kHere,
                     3,
                     {{"a.log", "0"}, {"a2.log", "2"}},
                     {{"a1.log", "0"}}},
        RotationCase{"two files", kHere, 2, {{"a.log", "0"}, {"a1.log", "1"}}, {{"a1.log", "0"}}},
        RotationCase{"one file grows on", kHere, 1, {{"a.log", "0"}}, {{"a.log", "0"}}},
        RotationCase{"no file count", kHere, -7, {{"a.log", "0"}}, {{"a.log", "0"}}},
        RotationCase{"ten files count two digits",
                     kHere,
                     11,
                     {{"a9.log", "9"}, {"a10.log", "10"}},
                     {{"a10.log", "9"}}},
        RotationCase{"in a folder",
                     {"/logs", "a.log", '/'},
                     2,
                     {{"/logs/a.log", "0"}, {"a.log", "not me"}},
                     {{"/logs/a1.log", "0"}, {"a.log", "not me"}}},
        RotationCase{"in a folder that ends with a separator",
                     {"C:\\logs\\", "a.log", '\\'},
                     2,
                     {{"C:\\logs\\\\a.log", "0"}},
                     {{"C:\\logs\\\\a1.log", "0"}}},
        RotationCase{"another extension stays, but an old generation of the stem moves",
                     {"", "a.txt", '/'},
                     3,
                     {{"a.txt", "0"}, {"a1.log", "1"}},
                     {{"a.txt", "0"}, {"a2.log", "1"}}},
        RotationCase{"a name without a full stop is its own stem",
                     {"", "a", '/'},
                     2,
                     {{"a", "0"}, {"a.log", "1"}},
                     {{"a", "0"}, {"a1.log", "1"}}},
        RotationCase{"only the last full stop cuts",
                     {"", "a.b.log", '/'},
                     2,
                     {{"a.b.log", "0"}},
                     {{"a.b1.log", "0"}}}));

TEST(RotationFaults, AFailingRenameDoesNotKeepTheOthersFromMoving) {
  ScriptedFiles files;
  Fill(files, {{"a.log", "0"}, {"a1.log", "1"}, {"a2.log", "2"}});
  files.FailNth(FileCall::Kind::kRename, 2);
  RotateFiles(files, kHere, 4);
  EXPECT_EQ(ContentsOf(files), (Contents{{"a1.log", "0"}, {"a3.log", "2"}}));
}

TEST(RotationFaults, AFailingDeleteKeepsBothFiles) {
  ScriptedFiles files;
  Fill(files, {{"a.log", "0"}, {"a1.log", "1"}});
  files.FailNth(FileCall::Kind::kRemove, 1);
  RotateFiles(files, kHere, 2);
  EXPECT_EQ(ContentsOf(files), (Contents{{"a.log", "0"}, {"a1.log", "1"}}));
}

TEST(RotationOfALog, FollowsTheLineThatPassesTheLimit) {
  LogHarness harness;
  QNLogger log("a.log", 4, harness.platform);
  log.SetConsoleEcho(false);
  log.SetDirectory("d");
  log.Write("first");
  ASSERT_EQ(log.Flush(), 0U);
  const auto size = static_cast<std::int32_t>(harness.files.Content("d/a.log").value_or("").size());
  log.SetRotation(2 * size, 2);
  log.Write("secnd");  // Twice the size, which is not past it.
  ASSERT_EQ(log.Flush(), 0U);
  EXPECT_THAT(harness.files.Names(), ElementsAre("d/a.log"));
  log.Write("third");
  ASSERT_EQ(log.Flush(), 0U);
  EXPECT_THAT(harness.files.Names(), ElementsAre("d/a1.log"));
  log.Write("fourth");
  ASSERT_EQ(log.Flush(), 0U);
  EXPECT_EQ(harness.Lines("d/a.log").size(), 1U);
  EXPECT_EQ(harness.Lines("d/a1.log").size(), 3U);
}

}  // namespace
}  // namespace tlk::test
