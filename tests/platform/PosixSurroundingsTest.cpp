#include "platform/posix/PosixSurroundings.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>
#include <tuple>
#include <utility>

namespace tlk {
namespace {

TEST(PosixSurroundings, FindsTheTemporaryFolderInTheEnvironment) {
  const std::pair<const char*, std::string> cases[] = {
      {"", "/tmp/"}, {"/var/tmp///", "/var/tmp/"}, {"///", "/"}, {"relative", "relative/"}};
  for (const auto& [variable, folder] : cases) {
    setenv("TMPDIR", variable, 1);
    std::array<char, 100> buffer{};
    EXPECT_EQ(PosixSurroundings().TemporaryFolder(buffer), folder.size());
    EXPECT_EQ(buffer.data(), folder);
  }
  unsetenv("TMPDIR");
}

TEST(PosixSurroundings, TellsTheTimeOfDayOfEveryZone) {
  using namespace std::chrono;
  for (const char* zone : {"UTC0", "EST5EDT,M3.2.0,M11.1.0", "IST-5:30", "<+14>-14"}) {
    setenv("TZ", zone, 1);
    tzset();
    const PosixSurroundings surroundings;
    const auto expectLikeTheSystem = [&](std::time_t time) {
      std::tm expected{};
      ASSERT_NE(localtime_r(&time, &expected), nullptr);
      const LocalTime at = surroundings.At(system_clock::time_point(seconds(time) + 7999us));
      ASSERT_EQ(std::tie(at.year, at.month, at.day, at.hour, at.minute, at.second, at.millisecond),
                std::tuple(expected.tm_year + 1900, expected.tm_mon + 1, expected.tm_mday,
                           expected.tm_hour, expected.tm_min, expected.tm_sec, 7))
          << zone << " " << time;
    };
    // Steps of a little more than five days, through years with and without a leap day, and back
    // before the epoch; then a minute in which clocks change.
    for (std::time_t time = -100'000'000; time < 2'000'000'000; time += 450'061) {
      const std::time_t minute = time - (time % 60 + 60) % 60;
      for (const std::time_t at : {time, minute, minute + 59, minute + 60, minute - 1})
        expectLikeTheSystem(at);
    }
    const auto spring = sys_seconds(sys_days(year(2026) / 3 / 8) + hours(7)).time_since_epoch();
    for (const int step : {-1, 0}) expectLikeTheSystem(spring.count() + step);
  }
}

TEST(PosixSurroundings, PrintsDebuggerTextsAsLines) {
  testing::internal::CaptureStderr();
  for (const char* text : {"ERROR", "with its end\n"}) PosixSurroundings().DebugOutput(text);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR\nwith its end\n");
}

}  // namespace
}  // namespace tlk
