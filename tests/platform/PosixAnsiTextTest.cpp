#include "platform/posix/PosixAnsiText.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <limits>
#include <new>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

constexpr int kPlenty = 1 << 30;
std::atomic<int> convertersLeft{kPlenty};

}  // namespace

/// Stands before the system's own.
extern "C" iconv_t iconv_open(const char* to, const char* from) {
  static const auto system =
      reinterpret_cast<decltype(&iconv_open)>(dlsym(RTLD_NEXT, "iconv_open"));
  if (convertersLeft-- > 0) return system(to, from);
  errno = EMFILE;
  return reinterpret_cast<iconv_t>(-1);
}

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
      // A byte that the page does not define has its own number, unless a pair begins with it.
      {"CP932", "\x80\xA0\xFD\xFE\xFF", u"\u0080\u00A0\u00FD\u00FE\u00FF"},
      {"CP949", "\x80\xC9<\xFE\xFF", u"\u0080\uFFFD<\uFFFD\u00FF"},
      {"CP950", "\xFA\x40\xFF", u"\uFFFD@\u00FF"},
      {"GB18030", "\xD6\xD0\x80\xFF\xD6", u"\u4E2D\u0080\u00FF\uFFFD"},
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
      {"CP932", "\x80?\x5C", u"\u0080\u00FD\u00A5"},
      {"UTF-8", "\xC3\xA4?|?", u"\u00E4\xD800|\xDC00"},
  };
  for (const Conversion& each : cases)
    EXPECT_EQ(Narrow(PosixAnsiText(each.codePage), each.wide), each.narrow) << each.codePage;
}

/// The best of a few, for other programs run beside this one.
template <typename Text>
std::clock_t TimeToConvert(const PosixAnsiText& codePage, const Text& piece, int count) {
  Text text;
  for (int i = 0; i < count; ++i) text += piece;
  std::clock_t best = std::numeric_limits<std::clock_t>::max();
  for (int round = 0; round < 5; ++round) {
    const std::clock_t start = std::clock();
    if constexpr (std::is_same_v<Text, std::string>) {
      Wide(codePage, text);
    } else {
      Narrow(codePage, text);
    }
    best = std::min(best, std::clock() - start);
  }
  return best;
}

// A megabyte of broken characters held the host's thread for 22 seconds.
TEST(PosixAnsiText, TakesTimeInProportion) {
  for (const char* codePage : {"CP932", "CP936", "CP949", "CP950", "UTF-8", "EUC-JP"}) {
    const PosixAnsiText text(codePage);
    const auto isInProportion = [&](const auto& piece) {
      return TimeToConvert(text, piece, 40000) < 8 * TimeToConvert(text, piece, 10000);
    };
    for (const std::string piece : {"\xFF", "\x93<", "a\xB0\xA1\xF0"})
      EXPECT_TRUE(isInProportion(piece)) << codePage << " " << testing::PrintToString(piece);
    for (const std::u16string piece : {u"\u0E01", u"\u4E00\xD800"})
      EXPECT_TRUE(isInProportion(piece)) << codePage << " " << testing::PrintToString(piece);
  }
}

// "Hello" was sent as "?????".
TEST(PosixAnsiText, FailsWhereNoConverterIsToBeHad) {
  for (const int given : {0, 1}) {
    convertersLeft = given;
    const PosixAnsiText text("CP932");
    EXPECT_EQ(Narrow(text, u"Hello"), "Hello");
    EXPECT_EQ(Wide(text, "Hello"), u"Hello");
    EXPECT_THROW(Narrow(text, u"Hello, \u65E5"), std::bad_alloc);
    EXPECT_THROW(Wide(text, "Hello, \x93\xFA"), std::bad_alloc);
    convertersLeft = kPlenty;
    EXPECT_EQ(Narrow(text, u"Hello, \u65E5"), "Hello, \x93\xFA");
  }
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
