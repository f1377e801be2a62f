// What every platform's ANSI text holds to, with Windows-1252 as the system's code page.
#include "tests/platform/AnsiTextCases.h"

TEST(AnsiTextContract, ConvertsBothWaysWhereverACharacterStands) {
  EXPECT_EQ(tlk::ExpectConversions(tlk::SystemPlatform().text, "system"), 5);
  EXPECT_TRUE(tlk::SystemPlatform().text.IsSingleByte());
}
