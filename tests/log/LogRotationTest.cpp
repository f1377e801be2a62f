#include "log/LogRotation.h"

#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

/// By the name of a file, the name that it had before.
using FormerNames = std::map<std::string, std::string>;

FormerNames Rotated(const std::vector<std::string>& names, const LogPlace& place,
                    std::int32_t fileCount, int failingRename = 0) {
  ScriptedFiles files;
  files.OnCall([&files](const FileCall&) {
    if (files.Calls().size() > 100) throw std::length_error("a rotation without an end");
  });
  for (const std::string& name : names) files.SetContent(name, name);
  files.FailNth(FileCall::Kind::kRename, failingRename);
  RotateFiles(files, place, fileCount);
  FormerNames former;
  for (const std::string& name : files.Names()) former[name] = files.Content(name).value_or("");
  return former;
}

const LogPlace kHere{"", "a.log", '/'};

TEST(Rotation, DropsTheOldestWithinTheCount) {
  EXPECT_EQ(Rotated({"a.log", "a1.log", "a2.log", "a3.log"}, kHere, 3),
            (FormerNames{{"a1.log", "a.log"}, {"a2.log", "a1.log"}, {"a3.log", "a3.log"}}));
  EXPECT_EQ(Rotated({"a.log", "a2.log"}, kHere, 3), (FormerNames{{"a1.log", "a.log"}}));
  EXPECT_EQ(Rotated({"a.log"}, kHere, 1), (FormerNames{{"a.log", "a.log"}}));
  EXPECT_EQ(Rotated({"a9.log", "a10.log"}, kHere, 11), (FormerNames{{"a10.log", "a9.log"}}));
}

TEST(Rotation, OfAnyCountTakesStepsForFilesThatAreThere) {
  EXPECT_EQ(Rotated({"a.log"}, kHere, std::numeric_limits<std::int32_t>::min()),
            (FormerNames{{"a.log", "a.log"}}));
  EXPECT_EQ(Rotated({"a.log", "a6.log", "a2147483646.log", "a2147483647.log", "a2x.log"}, kHere,
                    std::numeric_limits<std::int32_t>::max()),
            (FormerNames{{"a1.log", "a.log"},
                         {"a7.log", "a6.log"},
                         {"a2147483647.log", "a2147483647.log"},
                         {"a2x.log", "a2x.log"}}));
}

TEST(Rotation, MakesTheNamesOfStemAndFolder) {
  EXPECT_EQ(Rotated({"a.txt", "a1.log"}, {"", "a.txt", '/'}, 3),
            (FormerNames{{"a.txt", "a.txt"}, {"a2.log", "a1.log"}}));
  EXPECT_EQ(Rotated({"a", "a.log"}, {"", "a", '/'}, 2),
            (FormerNames{{"a", "a"}, {"a1.log", "a.log"}}));
  EXPECT_EQ(Rotated({"a.b.log"}, {"", "a.b.log", '/'}, 2), (FormerNames{{"a.b1.log", "a.b.log"}}));
  EXPECT_EQ(Rotated({"C:\\l\\a.log", "a.log"}, {"C:\\l", "a.log", '\\'}, 2),
            (FormerNames{{"C:\\l\\a1.log", "C:\\l\\a.log"}, {"a.log", "a.log"}}));
}

TEST(Rotation, GoesOnWhenARenameFails) {
  EXPECT_EQ(Rotated({"a.log", "a1.log", "a2.log"}, kHere, 4, 2),
            (FormerNames{{"a1.log", "a.log"}, {"a3.log", "a2.log"}}));
}

using RotationOfALog = LogFixture;

TEST_F(RotationOfALog, FollowsEachLineThatPassesTheLimit) {
  m_log->SetDirectory("d");
  m_log->SetRotation(10, 3);
  for (const char* const line : {"0", "1", "2"}) m_log->Write(line);
  EXPECT_EQ(m_log->Flush(), 0U);
  EXPECT_THAT(m_files.Names(), testing::ElementsAre("d/t1.log", "d/t2.log"));
  EXPECT_THAT(Records("d/t1.log"), testing::ElementsAre("2"));
}

}  // namespace
}  // namespace tlk::test
