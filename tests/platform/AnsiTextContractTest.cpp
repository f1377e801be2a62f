// What every platform's ANSI text holds to, with Windows-1252 as the system's code page.
#include "tests/platform/AnsiTextCases.h"

namespace tlk {
namespace {

TEST(AnsiTextContract, ConvertsBothWaysWhereverACharacterStands) {
  const AnsiText& text = SystemPlatform().text;
  const std::pair<std::string, std::u16string> cases[] = {
      {"", u""},
      {{"a\0b\0", 4}, {u"a\0b\0", 4}},
      {"\x80 and \xE4\xF6\xFC", u"\u20AC and \u00E4\u00F6\u00FC"},
      {"\x81\x8D\x8F\x90\x9D\x7F\xFF", u"\u0081\u008D\u008F\u0090\u009D\u007F\u00FF"},
  };
  for (const auto& [narrow, wide] : cases) {
    EXPECT_EQ(Wide(text, narrow), wide);
    EXPECT_EQ(Narrow(text, wide), narrow);
    ExpectBothWaysAnywhere(text, narrow, wide);
  }
  EXPECT_EQ(Narrow(text, u"1\u0434\u4E2D2\uFFFF\u0100"), "1??2??");
  EXPECT_TRUE(text.IsSingleByte());
}

}  // namespace
}  // namespace tlk
