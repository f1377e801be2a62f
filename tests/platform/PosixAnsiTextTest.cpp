#include "platform/posix/PosixAnsiText.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace tlk {
namespace {

std::u16string Wide(const AnsiText& text, const std::string& narrow) {
  std::u16string wide;
  text.Widen(narrow, wide);
  return wide;
}

std::string Narrow(const AnsiText& text, const std::u16string& wide) {
  std::string narrow;
  text.Narrow(wide, narrow);
  return narrow;
}

TEST(PosixAnsiText, GivesEveryByteOfASingleBytePageBack) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  for (const char* page : {"CP874", "CP1250", "CP1251", "CP1252", "CP1253", "CP1254", "CP1255",
                           "CP1256", "CP1257", "CP1258"}) {
    const PosixAnsiText text(page);
    EXPECT_TRUE(text.IsSingleByte());
    EXPECT_EQ(Narrow(text, Wide(text, all)), all) << page;
  }
}

struct Conversion {
  const char* codePage;
  std::string narrow;
  std::u16string wide;
};

TEST(PosixAnsiText, WidensThePageThatItIsGiven) {
  const Conversion cases[] = {
      {"CP1251", "\xC0\x98", u"\u0410\u0098"},
      {"CP932", "1\x93\xFA\x96\x7B\\\xB1", u"1\u65E5\u672C\\\uFF71"},
      {"GBK", "abcdefgh\xD6\xD0", u"abcdefgh\u4E2D"},
      {"GB18030", "\x90\x30\x81\x30\x81\x30\x81\x30", u"\U00010000\u0080"},
      {"UTF-8", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00E4\u20AC\U0001F600"},
      // A replacement stands for a broken sequence, and what follows it is kept.
      {"CP932", "a\x93", u"a\uFFFD"},
      {"CP932", "\x93<b>", u"\uFFFD<b>"},
      {"UTF-8", "\xE2\x82", u"\uFFFD"},
      {"UTF-8", "\xC3\xA4\x80\xC3\xA4", u"\u00E4\uFFFD\u00E4"},
  };
  for (const Conversion& each : cases)
    EXPECT_EQ(Wide(PosixAnsiText(each.codePage), each.narrow), each.wide) << each.codePage;
}

TEST(PosixAnsiText, NarrowsWithAQuestionMarkForWhatThePageLacks) {
  const Conversion cases[] = {
      {"CP1253", "\xE1?", u"\u03B1\u00E4"},
      {"CP932", "\x93\xFA?\x96\x7B", u"\u65E5\u00E4\u672C"},
      {"CP932", "??|", u"\U0001F600|"},
      {"UTF-8", "\xC3\xA4?|?", u"\u00E4\xD800|\xDC00"},
  };
  for (const Conversion& each : cases)
    EXPECT_EQ(Narrow(PosixAnsiText(each.codePage), each.wide), each.narrow) << each.codePage;
}

TEST(PosixAnsiText, FallsBackAloudFromAPageThatCannotBeUsed) {
  for (const char* codePage : {"no such page", "UTF-16LE", "EBCDIC-US"}) {
    testing::internal::CaptureStderr();
    const PosixAnsiText text(codePage);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Unusable code page \"" + std::string(codePage) + "\"; Windows-1252 is used\n");
    EXPECT_EQ(Wide(text, "\x80"), u"\u20AC");
  }
}

TEST(PosixAnsiText, ServesSeveralThreadsAtOnce) {
  const PosixAnsiText text("CP932");
  std::vector<std::thread> threads(4);
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      for (int n = 0; n < 500; ++n) ASSERT_EQ(Wide(text, "\x93\xFA\x93"), u"\u65E5\uFFFD");
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace tlk
