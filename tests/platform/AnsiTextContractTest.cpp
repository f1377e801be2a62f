// What every platform's ANSI text holds to, with Windows-1252 as the system's code page.
#include "platform/Ascii.h"
#include "tests/platform/AnsiTextCases.h"

TEST(AnsiTextContract, KnowsAsciiWhereverAnotherCharacterStands) {
  for (std::size_t at = 0; at < 80; ++at) {
    std::string text(80, 'x');
    EXPECT_TRUE(tlk::IsAscii(text));
    text[at] = '\x80';
    EXPECT_FALSE(tlk::IsAscii(std::string_view(text).substr(0, at + 1 + at % 9)));
  }
}

TEST(AnsiTextContract, ConvertsBothWaysWhereverACharacterStands) {
  EXPECT_EQ(tlk::ExpectConversions(tlk::SystemPlatform().text, "system"), 5);
  EXPECT_TRUE(tlk::SystemPlatform().text.IsSingleByte());
}
