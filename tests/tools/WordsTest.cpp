#include "tools/tlk/Words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

namespace tlk {
namespace {

using testing::ElementsAreArray;

struct SplitCase {
  std::string_view line;
  std::vector<std::string> words;
  std::string error = {};
};

void PrintTo(const SplitCase& splitCase, std::ostream* out) { *out << "line: " << splitCase.line; }

class WordsOf : public testing::TestWithParam<SplitCase> {};

TEST_P(WordsOf, ALine) {
  std::vector<std::string> words{"left over"};
  std::string error;
  EXPECT_EQ(SplitWords(GetParam().line, words, error), GetParam().error.empty());
  EXPECT_EQ(error, GetParam().error);
  EXPECT_THAT(words, ElementsAreArray(GetParam().words));
}

INSTANTIATE_TEST_SUITE_P(
    Plain, WordsOf,
    testing::Values(SplitCase{"", {}}, SplitCase{" \t ", {}},
                    SplitCase{"connect 127.0.0.1 1371", {"connect", "127.0.0.1", "1371"}},
                    SplitCase{"\t send  T\t<a/> ", {"send", "T", "<a/>"}},
                    SplitCase{R"(<a>"1"</a> C:\new)", {R"(<a>"1"</a>)", R"(C:\new)"}}));

INSTANTIATE_TEST_SUITE_P(Quoted, WordsOf,
                         testing::Values(SplitCase{R"("a b" "")", {"a b", ""}},
                                         SplitCase{R"("\"\\\n\r\t")", {"\"\\\n\r\t"}},
                                         SplitCase{R"("\x00\xfF\x41B")",
                                                   {std::string("\0\xFF"
                                                                "AB",
                                                                4)}}));

INSTANTIATE_TEST_SUITE_P(Broken, WordsOf,
                         testing::Values(SplitCase{R"(send "T)", {"send"}, "open quote"},
                                         SplitCase{R"("T\")", {}, "open quote"},
                                         SplitCase{
                                             R"("a"b)", {}, "no blank behind a closing quote"},
                                         SplitCase{R"("\q")", {}, R"(unknown escape \q)"},
                                         SplitCase{R"("\x4")", {}, R"(unknown escape \x)"},
                                         SplitCase{R"("\x+4")", {}, R"(unknown escape \x)"},
                                         SplitCase{R"("\)", {}, R"(unknown escape \)"}));

TEST(Quote, EscapesWhatIsNotPlain) {
  EXPECT_EQ(Quote("a \"b\" \\ ~"), R"("a \"b\" \\ ~")");
  EXPECT_EQ(Quote(std::string_view("\0\n\x1F\x7F\xE9", 5)), R"("\x00\x0A\x1F\x7F\xE9")");
}

TEST(Quote, IsUndoneBySplitting) {
  std::string everyByte(256, '\0');
  std::iota(everyByte.begin(), everyByte.end(), '\0');
  std::vector<std::string> words;
  std::string error;
  ASSERT_TRUE(SplitWords(Quote(everyByte), words, error)) << error;
  EXPECT_THAT(words, testing::ElementsAre(everyByte));
}

}  // namespace
}  // namespace tlk
