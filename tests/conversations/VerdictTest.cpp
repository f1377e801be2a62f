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
                  "11/16/2026 01:12:28.123 (2044) goes on\n",
                  HostSystem::kNative),
      ElementsAre("N One\\n (Tlkc - 68)", "E \\xE9\\n11/16/2026 01:12:28.123 (2044) goes on"));
}

TEST(Records, OfWindowsLoseWhatTheDomAndTheFileAdded) {
  const std::string_view log =
      "11/16/2026 01:12:28.123  (2044) N Sent. <a>\r\r\n\t<b/>\r\r\n</a>\r\r\n\r\n (Tlkc - 642)\r\n"
      "11/16/2026 01:12:28.123  (2044) E x\r\r\n<b\r\n";
  EXPECT_THAT(ReadRecords(log, HostSystem::kWindows),
              ElementsAre("N Sent. <a><b/></a>\\n (Tlkc - 642)", "E x\\x0D\\n<b"));
  EXPECT_THAT(
      ReadOutput("a data=\"<a>\\x0D\\x0A\\x09<b/>\\x0D\\x0A</a>\"\r\nc\n", HostSystem::kWindows),
      ElementsAre("a data=\"<a><b/></a>\"", "c"));
}

}  // namespace
}  // namespace tlk::conversations
