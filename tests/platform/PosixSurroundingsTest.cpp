#include "platform/posix/PosixSurroundings.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>
#include <tuple>
#include <utility>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {

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

// Steps of a little more than five days, through years with and without a leap day, and back before
// the epoch; then a minute in which clocks change. The last minute is remembered, and no other must
// be taken for it, such as one whose number is its own, shifted by the bits of a field.
TEST(PosixSurroundings, TellsTheTimeOfDayOfEveryZone) {
  using namespace std::chrono;
  constexpr std::time_t kSpring = 1'772'953'200;
  for (const char* zone : {"UTC0", "EST5EDT,M3.2.0,M11.1.0", "IST-5:30", "<+14>-14"}) {
    setenv("TZ", zone, 1);
    tzset();
    const PosixSurroundings surroundings;
    for (std::time_t step = -100'000'000; step < 2'000'000'000; step += 450'061) {
      const std::time_t minute = step - (step % 60 + 60) % 60;
      const auto shifted = [minute](int bits) { return (minute / 60 >> bits) * 60; };
      for (const std::time_t time : {step, minute, 2 * minute, minute, shifted(1), minute,
                                     shifted(4), minute, shifted(5), minute, shifted(12), minute,
                                     minute + 59, minute + 60, minute - 1, kSpring - 1, kSpring}) {
        std::tm expected{};
        ASSERT_NE(localtime_r(&time, &expected), nullptr);
        const LocalTime at = surroundings.At(system_clock::time_point(seconds(time) + 7999us));
        ASSERT_EQ(
            std::tie(at.year, at.month, at.day, at.hour, at.minute, at.second, at.millisecond),
            std::tuple(expected.tm_year + 1900, expected.tm_mon + 1, expected.tm_mday,
                       expected.tm_hour, expected.tm_min, expected.tm_sec, 7))
            << zone << " " << time;
      }
    }
  }
}

TEST(PosixSurroundings, PrintLinesWithoutAWaitOnATerminalThatNobodyMayOpenAnew) {
  const OwnedDescriptor terminal(posix_openpt(O_RDWR | O_NOCTTY));
  EXPECT_EQ(unlockpt(terminal.Get()), 0);
  const OwnedDescriptor printed(open(ptsname(terminal.Get()), O_WRONLY | O_NOCTTY));
  EXPECT_EQ(fchmod(printed.Get(), 0), 0);
  testing::internal::CaptureStderr();
  dup2(printed.Get(), STDERR_FILENO);
  const uid_t user = geteuid();
  EXPECT_EQ(seteuid(user == 0 ? 65534 : user), 0);
  for (int n = 0; n < 5000; ++n) PosixSurroundings().DebugOutput("told on a terminal");
  EXPECT_EQ(seteuid(user), 0);
  testing::internal::GetCapturedStderr();
  testing::internal::CaptureStderr();
  for (const char* text : {"told elsewhere", "with its end\n"})
    PosixSurroundings().DebugOutput(text);
  EXPECT_THAT(
      testing::internal::GetCapturedStderr(),
      testing::ContainsRegex(" not be printed here: [0-9]+\ntold elsewhere\nwith its end\n$"));
  std::array<char, 20> line{};
  EXPECT_EQ(read(terminal.Get(), line.data(), line.size()), 20);
  EXPECT_EQ(std::string_view(line.data(), line.size()), "told on a terminal\r\n");
}

}  // namespace tlk
