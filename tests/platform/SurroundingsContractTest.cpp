// What every platform's surroundings hold to.
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/Surroundings.h"

namespace tlk {
namespace {

Surroundings& System() { return SystemPlatform().surroundings; }

TEST(SurroundingsContract, CopiesTheTemporaryFolderOnlyWhenItFitsWithItsEnd) {
  std::array<char, 10'000> wide{};
  const std::uint32_t length = System().TemporaryFolder(wide);
  ASSERT_GT(length, 0U);
  const std::string folder(wide.data());
  EXPECT_EQ(folder.size(), length);
  EXPECT_EQ(folder.back(), System().PathSeparator());

  std::vector<char> exact(length + 1, 'x');
  EXPECT_EQ(System().TemporaryFolder(exact), length);
  EXPECT_EQ(exact.data(), folder);

  std::vector<char> tooSmall(length, 'x');
  EXPECT_EQ(System().TemporaryFolder(tooSmall), length + 1);
  EXPECT_EQ(tooSmall, std::vector<char>(length, 'x'));
  EXPECT_EQ(System().TemporaryFolder({}), length + 1);
}

TEST(SurroundingsContract, NowIsTheLocalTime) {
  const std::time_t before = std::time(nullptr);
  const LocalTime now = System().Now();
  const std::time_t after = std::time(nullptr);
  std::tm broken{};
  broken.tm_year = now.year - 1900;
  broken.tm_mon = now.month - 1;
  broken.tm_mday = now.day;
  broken.tm_hour = now.hour;
  broken.tm_min = now.minute;
  broken.tm_sec = now.second;
  broken.tm_isdst = -1;
  const std::time_t then = std::mktime(&broken);
  EXPECT_GE(then, before);
  EXPECT_LE(then, after);
  EXPECT_GE(now.millisecond, 0);
  EXPECT_LT(now.millisecond, 1'000);
}

TEST(SurroundingsContract, TheTickClockCountsTheMillisecondsOfASleep) {
  const std::uint64_t start = System().TickCount();
  System().Sleep(30);
  const std::uint64_t slept = System().TickCount() - start;
  EXPECT_GE(slept, 29U);
  EXPECT_LT(slept, 30'000U);
}

}  // namespace
}  // namespace tlk
