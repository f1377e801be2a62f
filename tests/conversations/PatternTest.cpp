#include "tests/conversations/Pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tlk::conversations {
namespace {

using testing::ElementsAre;
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

}  // namespace
}  // namespace tlk::conversations
