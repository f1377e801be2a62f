#include "tools/tlk/Words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

namespace tlk {
namespace {

TEST(SplitWords, ReadsPlainAndQuotedWords) {
  struct {
    std::string_view line;
    std::vector<std::string> words;
    std::string error = {};
  } const cases[] = {
      {" \t ", {}},
      {"\t send  T\t<a/> ", {"send", "T", "<a/>"}},
      {R"(<a>"1"</a> C:\new)", {R"(<a>"1"</a>)", R"(C:\new)"}},
      {R"("a b" "")", {"a b", ""}},
      {R"("\"\\\n\r\t\xfF\x41B")", {"\"\\\n\r\t\xFF" + std::string("AB")}},
      {R"(send "T)", {"send"}, "open quote"},
      {R"("T\")", {}, "open quote"},
      {R"("a"b)", {}, "no blank behind a closing quote"},
      {R"("\q")", {}, R"(unknown escape \q)"},
      {R"("\x4")", {}, R"(unknown escape \x)"},
      {R"("\x+4")", {}, R"(unknown escape \x)"},
      {R"("\)", {}, R"(unknown escape \)"},
      // The complaint about an unprintable escape once rang the terminal's bell.
      {"\"\\\a\"", {}, R"(unknown escape \\x07)"},
  };
  for (const auto& one : cases) {
    std::vector<std::string> words{"left over"};
    std::string error;
    EXPECT_EQ(SplitWords(one.line, words, error), one.error.empty()) << one.line;
    EXPECT_EQ(error, one.error) << one.line;
    EXPECT_EQ(words, one.words) << one.line;
  }
}

TEST(Quote, EscapesWhatIsNotPlainAndIsUndoneBySplitting) {
  EXPECT_EQ(Quote("a \"b\" \\ ~\n\x1F\x7F\xE9"), R"("a \"b\" \\ ~\x0A\x1F\x7F\xE9")");
  std::string everyByte(256, '\0');
  std::iota(everyByte.begin(), everyByte.end(), '\0');
  std::vector<std::string> words;
  std::string error;
  ASSERT_TRUE(SplitWords(Quote(everyByte), words, error)) << error;
  EXPECT_THAT(words, testing::ElementsAre(everyByte));
}

}  // namespace
}  // namespace tlk
