#include "tests/conversations/Verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tlk::conversations {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Verdict, WantsEveryLineAndLetsStarsCoverTheRest) {
  EXPECT_EQ(JudgeOutput({"one", "*", "t*ee*"}, {"one", "two", "three", "tree"}), "");
  EXPECT_EQ(JudgeOutput({"a*b*c", "*"}, {"a-b-bc-c"}), "");
  EXPECT_THAT(JudgeOutput({"one", "t*o"}, {"one", "three"}),
              AllOf(HasSubstr("line 2"), HasSubstr("three")));
  EXPECT_THAT(JudgeOutput({"one", "two"}, {"one"}), HasSubstr("no such line"));
  EXPECT_THAT(JudgeOutput({"one"}, {"one", "two"}), HasSubstr("or more"));
  EXPECT_NE(JudgeOutput({"one", "*", "two"}, {"one", "three"}), "");
}

TEST(Verdict, WantsRecordsInTheirOrder) {
  const Lines records{"N One", "E Two", "N One"};
  EXPECT_EQ(JudgeLog({"N One", "N One", "absent N Two"}, records), "");
  EXPECT_EQ(JudgeLog({"E Two", "E Two"}, records), "not there, or not in its turn: E Two");
  EXPECT_EQ(JudgeLog({"absent E *"}, records), "there, but should not be: E *");
}

TEST(Records, MaySpanLines) {
  EXPECT_THAT(
      ReadRecords("11/16/2026 01:12:28.123  (2044) N One\n (Tlkc - 68)\n"
                  "11/16/2026 01:12:28.123  (2044) E \xE9\n"
                  "11/16/2026 01:12:28.123 (2044) goes on\n"),
      ElementsAre("N One\\n (Tlkc - 68)", "E \\xE9\\n11/16/2026 01:12:28.123 (2044) goes on"));
}

}  // namespace
}  // namespace tlk::conversations
