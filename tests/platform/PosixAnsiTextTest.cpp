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
#include <tuple>

#include "tests/platform/AnsiTextCases.h"
#include "tests/thread/Waiting.h"

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

enum class Way { kBoth, kWiden, kNarrow };
using enum Way;

TEST(PosixAnsiText, ConvertsWhatItsPageHasAndReplacesTheRest) {
  const std::tuple<const char*, Way, std::string, std::u16string> cases[] = {
      {"CP1251", kBoth, "\xC0\x98", u"\u0410\u0098"},
      {"CP1253", kNarrow, "\xE1?", u"\u03B1\u00E4"},
      {"CP932", kBoth, "\x81\x40\xFC\x4B", u"\u3000\u9ED1"},
      {"CP932", kBoth, "1\x93\xFA\\\xA1\xB1\xDF", u"1\u65E5\\\uFF61\uFF71\uFF9F"},
      {"CP932", kNarrow, "\x93\xFA?\x96\x7B??|", u"\u65E5\u00E4\u672C\U0001F600|"},
      {"CP932", kNarrow, "\x80??\x5C", u"\u0080\u00A0\u00FD\u00A5"},
      {"GBK", kBoth, "\x81\x40\xD6\xD0\xFE\x4F", u"\u4E02\u4E2D\uFA29"},
      {"CP949", kBoth, "\x81\x41\xFD\xFE", u"\uAC02\u8A70"},
      {"EUC-JP", kBoth, "\x8E\xB1\x8F\xB0\xA1\xC6\xFC", u"\uFF71\u4E02\u65E5"},
      {"EUC-JP", kNarrow, std::string(99, '?') + "\xA4\xA2", std::u16string(99, 0xE01) + u'\u3042'},
      {"GB18030", kBoth, "\x90\x30\x81\x30\x81\x30\x81\x30", u"\U00010000\u0080"},
      // A byte that the page does not define has its own number, unless a pair begins with it.
      {"CP932", kWiden, "\x80\xA0\xFD\xFE\xFF", u"\u0080\u00A0\u00FD\u00FE\u00FF"},
      {"CP949", kWiden, "\x80\xC9<\xFE\xFF", u"\u0080\uFFFD<\uFFFD\u00FF"},
      {"CP950", kWiden, "\x81\xFA\x40\xFF", u"\uFFFD\uFFFD@\u00FF"},
      {"GB18030", kWiden, "\xD6\xD0\x80\xFF\xD6", u"\u4E2D\u0080\u00FF\uFFFD"},
      // A replacement stands for a broken sequence, and what follows it is kept.
      {"CP932", kWiden, "\x93<b>\x93", u"\uFFFD<b>\uFFFD"},
      {"CP932", kWiden, {"\x93\0\x93\xFA", 4}, {u"\uFFFD\0\u65E5", 3}},
      {"UTF8", kWiden, "\xC3\xA4\x80\xC3\xA4", u"\u00E4\uFFFD\u00E4"},
      {"UTF-8", kNarrow, "\xC3\xA4?|?", u"\u00E4\xD800|\xDC00"},
      {"UTF-8", kNarrow, "?\xF0\x90\x80\x80?", u"\xD800\U00010000\xD800"},
      // The first and the last character of each length.
      {"utf-8", kBoth, "\x7F\xC2\x80", u"\u007F\u0080"},
      {"utf-8", kBoth, "\xDF\xBF\xE0\xA0\x80", u"\u07FF\u0800"},
      {"utf-8", kBoth, "\xED\x9F\xBF\xEE\x80\x80", u"\uD7FF\uE000"},
      {"utf-8", kBoth, "\xEF\xBF\xBF\xF0\x90\x80\x80", u"\uFFFF\U00010000"},
      {"utf-8", kBoth, "\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
      // What the end of the text cuts short is one character; with these two none begins.
      {"utf-8", kWiden, "\xE2\x82", u"\uFFFD"},
      {"utf-8", kWiden, "\xFD\x80", u"\uFFFD"},
      {"utf-8", kWiden, "\xFE\x80", u"\uFFFD\uFFFD"},
      // Longer than need be, half a pair, beyond the last character, and too long for any.
      {"utf-8", kWiden, "\xC1\xBF\xE0\x9F\xBF|", std::u16string(5, 0xFFFD) + u"|"},
      {"utf-8", kWiden, "\xED\xA0\x80\xED\xBF\xBF|", std::u16string(6, 0xFFFD) + u"|"},
      {"utf-8", kWiden, "\xF0\x8F\xBF\xBF\xF4\x90\x80\x80|", std::u16string(8, 0xFFFD) + u"|"},
      {"utf-8", kWiden, "\xF8\x88\x80\x80\x80|", std::u16string(5, 0xFFFD) + u"|"},
  };
  for (const auto& [page, way, narrow, wide] : cases) {
    const PosixAnsiText text(page);
    SCOPED_TRACE(page + testing::PrintToString(narrow));
    EXPECT_TRUE(way == kNarrow || Wide(text, narrow) == wide);
    EXPECT_TRUE(way == kWiden || Narrow(text, wide) == narrow);
    if (way == kBoth) ExpectBothWaysAnywhere(text, narrow, wide);
  }
}

// A megabyte of broken characters held the host's thread for 22 seconds.
TEST(PosixAnsiText, TakesTimeInProportion) {
  for (const char* codePage : {"CP932", "CP936", "CP949", "CP950", "UTF-8", "EUC-JP"}) {
    const PosixAnsiText page(codePage);
    // The best of a few, for other programs run beside this one.
    const auto timeToConvert = [&](auto piece, int count) {
      decltype(piece) text;
      for (int i = 0; i < count; ++i) text += piece;
      std::clock_t best = std::numeric_limits<std::clock_t>::max();
      for (int round = 0; round < 5; ++round) {
        const std::clock_t start = std::clock();
        if constexpr (requires { Wide(page, text); }) {
          Wide(page, text);
        } else {
          Narrow(page, text);
        }
        best = std::min(best, std::clock() - start);
      }
      return best;
    };
    const auto expectInProportion = [&](auto piece) {
      EXPECT_LT(timeToConvert(piece, 40000), 8 * timeToConvert(piece, 10000))
          << codePage << " " << testing::PrintToString(piece);
    };
    for (const std::string piece : {"\xFF", "\x93<", "a\xB0\xA1\xF0"}) expectInProportion(piece);
    for (const std::u16string piece : {u"\u0E01", u"\u4E00\xD800"}) expectInProportion(piece);
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
  for (const char* page : {"CP932", "EUC-JP"}) {
    const PosixAnsiText text(page);
    test::RunOnThreads(4, [&](int) {
      for (int n = 0; n < 500; ++n) ASSERT_EQ(Narrow(text, u"\u65E5\u0E01").back(), '?');
    });
  }
}

}  // namespace
}  // namespace tlk
