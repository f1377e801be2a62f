#include "xml/PathNames.h"

#include <gtest/gtest.h>

#include "platform/Utf8.h"
#include "tests/xml/MarkedTexts.h"

namespace tlk {
namespace {

using test::Times;

// Numbers are made texts rightly when they are whole and not too far from zero, which is told from
// the expression alone.
TEST(PathNames, TellWhatCanBeAnswered) {
  const std::map<std::string, BoundPath> kinds = {{"right", BoundPath::kRight},
                                                  {"in-ascii", BoundPath::kRightInAscii},
                                                  {"lacking", BoundPath::kLacking},
                                                  {"malformed", BoundPath::kMalformed},
                                                  {"refused", BoundPath::kRefused}};
  const auto texts = test::TextsByWord(TLKC2_PATH_TEXTS);
  EXPECT_EQ(texts.size(), kinds.size());
  for (const auto& [word, paths] : texts) {
    for (const auto& [text, fault] : paths) {
      std::string path;
      AppendUtf8(text, path);
      std::string bound = "before";
      EXPECT_EQ(BindPath(path, bound), kinds.at(word)) << path;
      EXPECT_EQ(IsPath(path), kinds.at(word) < BoundPath::kMalformed) << path;
    }
  }
}

TEST(PathNames, RefuseWhatIsTooLongOrTooDeep) {
  EXPECT_TRUE(IsPath("r" + Times(kMaxPathLength - 1, " ")));
  EXPECT_FALSE(IsPath("r" + Times(kMaxPathLength, " ")));
  const std::string nested[][3] = {
      {"(", "r", ")"}, {"r[", "r", "]"}, {"not(", "r", ")"}, {"-", "1", ""}};
  for (const auto& [before, core, behind] : nested) {
    constexpr std::size_t kDeepest = kMaxPathNesting;
    for (const auto depth : {kDeepest, kDeepest + 1, 4'095 / (before + behind).size()}) {
      const std::string path = Times(depth, before) + core + Times(depth, behind);
      EXPECT_EQ(IsPath(path), depth == kDeepest) << before;
    }
    EXPECT_FALSE(IsPath(Times(4'095 / before.size(), before))) << before;
  }
  // What is beside each other is not deep.
  for (const std::string piece : {"[1]", "|(r)", "/r[true()]", "/r[-1]", "|r[-1]", "*-1"})
    EXPECT_TRUE(IsPath("r" + Times(kMaxPathNesting + 1, piece))) << piece;
  // Each of these calls is written twice in the one around it, which may not take 64 times as much
  // as the longest path.
  const auto calls = [](std::size_t size) {
    return Times(8, "namespace-uri(") + Times(size, "r") + Times(8, ")");
  };
  std::string bound;
  EXPECT_EQ(BindPath(calls(1820), bound), BoundPath::kRight);
  EXPECT_EQ(BindPath(calls(1821), bound), BoundPath::kLacking);
}

}  // namespace
}  // namespace tlk
