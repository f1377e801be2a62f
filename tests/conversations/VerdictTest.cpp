#include "tests/conversations/Verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/conversations/Pattern.h"

namespace tlk::conversations {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Lines = std::vector<std::string>;

TEST(Pattern, StarsCoverWhateverMakesTheRestFit) {
  EXPECT_TRUE(LineFits("a*b*c", "a-b-bc-c"));
  EXPECT_TRUE(LineFits("*", ""));
  EXPECT_TRUE(LineFits("abc**", "abc"));
  EXPECT_FALSE(LineFits("a*b", "a-b-"));
  EXPECT_FALSE(LineFits("", "a"));
  EXPECT_FALSE(LineFits("ab", "a"));
}

TEST(Pattern, ALoneStarCoversLines) {
  EXPECT_TRUE(LinesFit(Lines{"one", "*", "t*ee"}, Lines{"one", "two", "three", "tree"}));
  EXPECT_TRUE(LinesFit(Lines{"*"}, Lines{}));
  EXPECT_FALSE(LinesFit(Lines{"one"}, Lines{"one", "two"}));
  EXPECT_FALSE(LinesFit(Lines{"one", "two"}, Lines{"one"}));
  EXPECT_FALSE(LinesFit(Lines{"one", "*", "two"}, Lines{"one", "three"}));
}

TEST(Pattern, RecordsMaySpanLines) {
  EXPECT_THAT(ReadRecords("11/16/2026 01:12:28.123  (2044) N One\n (Tlkc - 68)\n"
                          "11/16/2026 01:12:28.123  (2044) E C:\\\xE9\n"
                          "11/16/2026 01:12:28.123 (2044) goes on\n"),
              ElementsAre("N One\\n (Tlkc - 68)",
                          "E C:\\\\\\xE9\\n11/16/2026 01:12:28.123 (2044) goes on"));
}

TEST(Verdict, NamesTheFirstLineThatIsOtherThanExpected) {
  EXPECT_EQ(JudgeOutput(Lines{"one", "t*"}, Lines{"one", "two"}), "");
  EXPECT_THAT(JudgeOutput(Lines{"one", "two"}, Lines{"one", "three"}),
              AllOf(HasSubstr("line 2"), HasSubstr("three")));
  EXPECT_THAT(JudgeOutput(Lines{"one", "two"}, Lines{"one"}), HasSubstr("no such line"));
  EXPECT_THAT(JudgeOutput(Lines{"one"}, Lines{"one", "two"}), HasSubstr("or more"));
}

TEST(Verdict, WantsRecordsInTheirOrder) {
  const Lines records{"N One", "E Two", "N One"};
  EXPECT_EQ(JudgeLog(Lines{"N One", "N One", "absent N Two"}, records), "");
  EXPECT_EQ(JudgeLog(Lines{"E Two", "N One"}, records), "");
  EXPECT_EQ(JudgeLog(Lines{"E Two", "E Two"}, records), "not there, or not in its turn: E Two");
  EXPECT_EQ(JudgeLog(Lines{"absent E *"}, records), "there, but should not be: E *");
}

}  // namespace
}  // namespace tlk::conversations
