#include "xml/PathNames.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace tlk {
namespace {

std::string Times(std::size_t count, const std::string& piece) {
  std::string text;
  while (count-- > 0) text += piece;
  return text;
}

// Numbers are made texts rightly when they are whole and not too far from zero, which is told from
// the expression alone.
TEST(PathNames, TellWhatCanBeAnswered) {
  const std::pair<BoundPath, std::vector<std::string>> kinds[] = {
      {BoundPath::kRight,
       {"r",
        "r/x\xC3\x80",
        "concat(9007199254740992,'')",
        "concat(1.0=1,'')",
        "concat(2*3 - 1,'')",
        "concat(4503599627370496+4503599627370496,'')",
        "concat(count(//*)*2097152,'')",
        "concat(7 mod 2,'')",
        "concat(7 mod 9007199254740994,'')",
        "concat(floor(7 div 2),'')",
        "concat(-1,'')",
        "concat(true()+1,'')",
        "concat(number(1),'')",
        "concat(position(),last())",
        "substring('abc',1.5)",
        "substring(1,1)",
        "translate(.,'a','b')",
        "r[1.5]",
        "concat(floor(9007199254740991.5),'')",
        "string-length(9007199254740992)"}},
      {BoundPath::kRightInAscii,
       {"translate(.,'a',.)", "translate(.,.,'b')", "substring(.,2)", "substring(r,1)"}},
      {BoundPath::kLacking,
       {"concat(9007199254740994,'')", "concat(count(//*)*2097153,'')", "concat(1.5,'')",
        "concat(4503599627370496+4503599627370498,'')", "concat(1.5 mod 1,'')",
        "concat(7 mod 1.5,'')", "concat(4 div 2,'')", "concat(floor(7 div 0.5),'')",
        "concat(1 + 0.5,'')", "concat(round(0.5)*9007199254740994,'')", "substring(1.5,1)",
        "concat(number('1'),'')", "concat(sum(r),'')", "namespace::x", "concat('a',1.5)",
        "r[substring(.,1)='\xC3\xA9']", "translate(.,'\xC3\xA9','e')", "concat(floor(r),'')"}},
      {BoundPath::kMalformed, {"",    " ",  "r[",      "//",   "'open", "r r",        "1r",
                               "f()", ".r", "@xml:",   "$v",   "r\x01", "r[]",        "(r",
                               "r)",  "r/", "child::", "not(", "not(1", "concat(1 2)"}},
      {BoundPath::kRefused, {"p:d", "//p:*", "/r/@p:x", "child::p:d", "//d[p:x='1']", "p:f()"}}};
  for (const auto& [kind, paths] : kinds) {
    for (const std::string& path : paths) {
      std::string bound = "before";
      EXPECT_EQ(BindPath(path, bound), kind) << path;
      EXPECT_EQ(IsPath(path), kind < BoundPath::kMalformed) << path;
    }
  }
}

TEST(PathNames, RefuseWhatIsTooLongOrTooDeep) {
  EXPECT_TRUE(IsPath("r" + Times(kMaxPathLength - 1, " ")));
  EXPECT_FALSE(IsPath("r" + Times(kMaxPathLength, " ")));
  const std::string nested[][3] = {
      {"(", "r", ")"}, {"r[", "r", "]"}, {"not(", "r", ")"}, {"-", "1", ""}};
  for (const auto& [before, core, behind] : nested) {
    const auto deep = [&](std::size_t depth) {
      return Times(depth, before) + core + Times(depth, behind);
    };
    EXPECT_TRUE(IsPath(deep(kMaxPathNesting))) << before;
    EXPECT_FALSE(IsPath(deep(kMaxPathNesting + 1))) << before;
    EXPECT_FALSE(IsPath(deep(4'095 / (before + behind).size()))) << before;
    EXPECT_FALSE(IsPath(Times(4'095 / before.size(), before))) << before;
  }
  // What is beside each other is not deep.
  for (const std::string piece : {"[1]", "|(r)", "/r[true()]", "/r[-1]", "|r[-1]"})
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
