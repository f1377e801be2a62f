// What every platform's ANSI text holds to, with Windows-1252 as the system's code page.
#include <gtest/gtest.h>

#include <string>

#include "platform/AnsiText.h"
#include "platform/Platform.h"

namespace tlk {
namespace {

std::u16string Wide(const std::string& narrow) {
  std::u16string wide = u"left over";
  SystemPlatform().text.Widen(narrow, wide);
  return wide;
}

std::string Narrow(const std::u16string& wide) {
  std::string narrow = "left over";
  SystemPlatform().text.Narrow(wide, narrow);
  return narrow;
}

TEST(AnsiTextContract, ConvertsBothWays) {
  const std::pair<std::string, std::u16string> cases[] = {
      {"", u""},
      {std::string("a\0b\0", 4), std::u16string(u"a\0b\0", 4)},
      {"\x80 and \xE4\xF6\xFC", u"\u20AC and \u00E4\u00F6\u00FC"},
      {"\x81\x8D\x8F\x90\x9D\x7F\xFF", u"\u0081\u008D\u008F\u0090\u009D\u007F\u00FF"},
  };
  for (const auto& [narrow, wide] : cases) {
    EXPECT_EQ(Wide(narrow), wide);
    EXPECT_EQ(Narrow(wide), narrow);
  }
  EXPECT_EQ(Narrow(u"1\u0434\u4E2D2\uFFFF\u0100"), "1??2??");
  EXPECT_TRUE(SystemPlatform().text.IsSingleByte());
}

TEST(AnsiTextContract, FindsTheOneOddCharacterWhereverItStands) {
  for (size_t odd = 0; odd < 40; ++odd) {
    std::string narrow(40, 'x');
    std::u16string wide(40, u'x');
    narrow[odd] = '\x80';
    wide[odd] = u'\u20AC';
    ASSERT_EQ(Wide(narrow), wide);
    ASSERT_EQ(Narrow(wide), narrow);
  }
}

}  // namespace
}  // namespace tlk
