#include "platform/posix/PosixAnsiText.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <new>
#include <string>
#include <vector>

#include "tests/platform/AnsiTextCases.h"
#include "tests/thread/Waiting.h"

constexpr int kPlenty = 1 << 30;
std::atomic<int> convertersLeft{kPlenty};

/// Stands before the system's own.
extern "C" iconv_t iconv_open(const char* to, const char* from) {
  static const auto system =
      reinterpret_cast<decltype(&iconv_open)>(dlsym(RTLD_NEXT, "iconv_open"));
  if (convertersLeft-- > 0) return system(to, from);
  errno = EMFILE;
  return reinterpret_cast<iconv_t>(-1);
}

namespace tlk {

TEST(PosixAnsiText, GivesEveryByteOfASingleBytePageBack) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  for (const char* page : {"CP874", "CP1250", "CP1251", "CP1252", "CP1253", "CP1254", "CP1255",
                           "CP1256", "CP1257", "CP1258"}) {
    const PosixAnsiText text(page);
    EXPECT_TRUE(text.IsSingleByte());
    EXPECT_EQ(Converted(text, Converted(text, all)), all) << page;
  }
}

TEST(PosixAnsiText, ConvertsWhatItsPageHasAndReplacesTheRest) {
  int count = 0;
  for (const char* page : {"CP1251", "CP1253", "TSCII", "CP932", "GBK", "CP949", "CP950", "EUC-JP",
                           "GB18030", "UTF8", "UTF-8", "utf-8"})
    count += ExpectConversions(PosixAnsiText(page), page);
  EXPECT_EQ(count, 34);
}

// A megabyte of broken characters held the host's thread for 22 seconds.
TEST(PosixAnsiText, TakesTimeInProportion) {
  for (const char* page : {"CP932", "UTF-8", "EUC-JP"}) {
    const PosixAnsiText text(page);
    const auto expectInProportion = [&](auto piece) {
      // The best of a few, for other programs run beside this one.
      std::array<std::vector<std::clock_t>, 2> times;
      for (std::size_t round = 0; round < 10; ++round) {
        decltype(piece) pieces;
        while (pieces.size() < (round % 2 == 0 ? 20'000 : 80'000)) pieces += piece;
        const std::clock_t start = std::clock();
        Converted(text, pieces);
        times.at(round % 2).push_back(std::clock() - start);
      }
      EXPECT_LT(std::ranges::min(times[1]), 8 * std::ranges::min(times[0])) << page;
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
    EXPECT_EQ(Converted(text, "Hello"), u"Hello");
    EXPECT_THROW(Converted(text, u"Hello, \u65E5"), std::bad_alloc);
    EXPECT_THROW(Converted(text, "Hello, \x93\xFA"), std::bad_alloc);
    convertersLeft = kPlenty;
    EXPECT_EQ(Converted(text, u"Hello, \u65E5"), "Hello, \x93\xFA");
  }
}

TEST(PosixAnsiText, FallsBackAloudFromAPageThatCannotBeUsed) {
  for (const std::string page : {"no such page", "UTF-16LE", "EBCDIC-US"}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(Converted(PosixAnsiText(page), "\x80"), u"\u20AC");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Unusable code page \"" + page + "\"; Windows-1252 is used\n");
  }
}

TEST(PosixAnsiText, ServesSeveralThreadsAtOnce) {
  const PosixAnsiText text("EUC-JP");
  test::RunOnThreads(4, [&](int) {
    for (int n = 0; n < 500; ++n) ASSERT_EQ(Converted(text, u"\u65E5\u0E01").back(), '?');
  });
}

}  // namespace tlk
