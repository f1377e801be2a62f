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

class SingleByteCodePage : public testing::TestWithParam<const char*> {};

TEST_P(SingleByteCodePage, GivesEveryByteBack) {
  const PosixAnsiText text(GetParam());
  EXPECT_TRUE(text.IsSingleByte());
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  const std::u16string wide = Wide(text, all);
  ASSERT_EQ(wide.size(), all.size());
  EXPECT_EQ(Narrow(text, wide), all);
}

INSTANTIATE_TEST_SUITE_P(Windows, SingleByteCodePage,
                         testing::Values("CP874", "CP1250", "CP1251", "CP1252", "CP1253", "CP1254",
                                         "CP1255", "CP1256", "CP1257", "CP1258"));

TEST(PosixAnsiText, ReadsThePageThatItIsGiven) {
  EXPECT_EQ(Wide(PosixAnsiText("CP1251"), "\xC0\x98"), u"\u0410\u0098");
  EXPECT_EQ(Wide(PosixAnsiText("CP1255"), "\xE0"), u"\u05D0");
  EXPECT_EQ(Narrow(PosixAnsiText("CP1253"), u"\u03B1\u00E4"), "\xE1?");
}

struct MultiByteCase {
  const char* codePage;
  std::string narrow;
  std::u16string wide;
};

TEST(PosixAnsiText, ConvertsCharactersOfSeveralBytes) {
  const MultiByteCase cases[] = {
      {"CP932", "1\x93\xFA\x96\x7B\\\xB1", u"1\u65E5\u672C\\\uFF71"},
      {"GBK", "abcdefgh\xD6\xD0", u"abcdefgh\u4E2D"},
      {"UTF-8", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00E4\u20AC\U0001F600"},
      {"GB18030", std::string("\x90\x30\x81\x30\x81\x30\x81\x30", 8), u"\U00010000\u0080"},
  };
  for (const MultiByteCase& each : cases) {
    const PosixAnsiText text(each.codePage);
    EXPECT_FALSE(text.IsSingleByte());
    EXPECT_EQ(Wide(text, each.narrow), each.wide) << each.codePage;
  }
  for (const MultiByteCase& each : {cases[0], cases[1], cases[2]})
    EXPECT_EQ(Narrow(PosixAnsiText(each.codePage), each.wide), each.narrow) << each.codePage;
}

TEST(PosixAnsiText, PutsAReplacementForABrokenSequenceAndGoesOn) {
  const MultiByteCase cases[] = {
      {"CP932", "a\x93", u"a\uFFFD"},      // the second byte is missing
      {"CP932", "\x93<b>", u"\uFFFD<b>"},  // the second byte cannot be one
      {"UTF-8", "\xE2\x82", u"\uFFFD"},    // cut off
      {"UTF-8", "x\xFFy\xC0z", u"x\uFFFDy\uFFFDz"},
      {"UTF-8", "\xC3\xA4\x80\xC3\xA4", u"\u00E4\uFFFD\u00E4"},
  };
  for (const MultiByteCase& each : cases)
    EXPECT_EQ(Wide(PosixAnsiText(each.codePage), each.narrow), each.wide) << each.codePage;
}

TEST(PosixAnsiText, PutsAQuestionMarkForWhatAPageOfSeveralBytesLacks) {
  const PosixAnsiText japanese("CP932");
  EXPECT_EQ(Narrow(japanese, u"\u65E5\u00E4\u672C"), "\x93\xFA?\x96\x7B");
  EXPECT_EQ(Narrow(japanese, u"\U0001F600|"), "??|");
  const PosixAnsiText utf8("UTF-8");
  EXPECT_EQ(Narrow(utf8, u"\xD800|\xDC00"), "?|?");
  EXPECT_EQ(Narrow(utf8, u"\u00E4\xD800"), "\xC3\xA4?");
  EXPECT_EQ(Narrow(utf8, std::u16string(1'000, u'\u20AC') + u'\xD800').size(), 3'001U);
}

TEST(PosixAnsiText, FallsBackAloudFromAPageThatCannotBeUsed) {
  for (const char* codePage : {"no such page", "UTF-16LE", "EBCDIC-US", "UTF-7"}) {
    testing::internal::CaptureStderr();
    const PosixAnsiText text(codePage);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Unusable code page \"" + std::string(codePage) + "\"; Windows-1252 is used\n");
    EXPECT_EQ(Wide(text, "\x80"), u"\u20AC");
  }
}

TEST(PosixAnsiText, ServesSeveralThreadsAtOnce) {
  const PosixAnsiText text("CP932");
  constexpr int kThreads = 4;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 500; ++n) {
        ASSERT_EQ(Wide(text, "\x93\xFA\x93"), u"\u65E5\uFFFD");
        ASSERT_EQ(Narrow(text, u"\u65E5"), "\x93\xFA");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace tlk
