#include "log/LogRotation.h"

#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();

struct RotationCase {
  std::string before;  ///< Names of files.
  LogPlace place;
  std::int32_t fileCount;
  std::string after;  ///< Names, each with the name that the file had before.
  bool isMoved = true;
  int failingRename = 0;
};

const LogPlace kHere{"", "a.log", '/'};

const RotationCase kRotations[] = {
    // The oldest within the count is dropped.
    {"a.log a1.log a2.log a3.log", kHere, 3, "a1.log=a.log a2.log=a1.log a3.log=a3.log "},
    {"a.log a2.log", kHere, 3, "a1.log=a.log "},
    {"a.log", kHere, 1, "a.log=a.log "},
    {"a.log", kHere, kLeast, "a.log=a.log "},
    {"a9.log a10.log", kHere, 11, "a10.log=a9.log ", false},
    // Of any count, only files that are there cost a step.
    {"a.log", kHere, 101, "a1.log=a.log "},
    {"a1.log", kHere, 101, "a2.log=a1.log ", false},
    {"a.log a6.log a2147483646.log a2147483647.log a2147483648.log a2x.log", kHere, kMost,
     "a1.log=a.log a2147483647.log=a2147483647.log a2147483648.log=a2147483648.log a2x.log=a2x.log "
     "a7.log=a6.log "},
    // The names are made of stem and folder.
    {"a.txt a1.log", {"", "a.txt", '/'}, 3, "a.txt=a.txt a2.log=a1.log "},
    {"a a.log", {"", "a", '/'}, 2, "a=a a1.log=a.log "},
    {"a.b.log", {"", "a.b.log", '/'}, 2, "a.b1.log=a.b.log "},
    {"C:\\l\\a.log a.log", {"C:\\l", "a.log", '\\'}, 2, "C:\\l\\a1.log=C:\\l\\a.log a.log=a.log "},
    // It goes on when a rename fails.
    {"a.log a1.log a2.log", kHere, 4, "a1.log=a.log a3.log=a2.log ", true, 2},
    {"a.log", kHere, 2, "a.log=a.log ", false, 1},
};

TEST(Rotation, MovesEachFileOneGenerationOn) {
  for (const RotationCase& rotation : kRotations) {
    SCOPED_TRACE(rotation.before);
    ScriptedFiles files;
    int calls = 0;
    int renames = 0;
    files.answer = [&](const FileCall& call) -> std::optional<std::int64_t> {
      if (++calls > 100) throw std::length_error("a rotation without an end");
      const bool isRename = call.kind == FileCall::Kind::kRename;
      return isRename && ++renames == rotation.failingRename ? std::optional(-1) : std::nullopt;
    };
    std::istringstream names(rotation.before);
    for (std::string name; names >> name;) files.SetContent(name, name);
    EXPECT_EQ(RotateFiles(files, rotation.place, rotation.fileCount), rotation.isMoved);
    std::string after;
    for (const auto& [name, former] : files.Contents()) after += name + "=" + former + " ";
    EXPECT_EQ(after, rotation.after);
  }
}

using RotationOfALog = LogFixture;

TEST_F(RotationOfALog, FollowsEachLineThatPassesTheLimit) {
  m_log->KeepDirectory("d");
  m_log->SetDirectory("not this");
  m_log->SetRotation(10, 3);
  Write("123");
  Flush();
  EXPECT_EQ(Letters("d/t2.log") + Letters("d/t1.log"), "23");
  EXPECT_EQ(m_files.Contents().size(), 2U);
}

}  // namespace
}  // namespace tlk::test
