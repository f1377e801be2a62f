#include "platform/posix/PosixSurroundings.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace tlk {
namespace {

/// An environment variable with another value, or none, for as long as it lives.
class Variable {
 public:
  Variable(const char* name, const char* value) : m_name(name) {
    if (const char* before = std::getenv(name)) m_before = before;
    Put(value);
  }
  ~Variable() { Put(m_before ? m_before->c_str() : nullptr); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  void Put(const char* value) {
    if (value != nullptr) {
      setenv(m_name, value, 1);
    } else {
      unsetenv(m_name);
    }
    tzset();
  }

  const char* m_name;
  std::optional<std::string> m_before;
};

TEST(PosixSurroundings, FindsTheTemporaryFolderInTheEnvironment) {
  const struct {
    const char* variable;
    std::string folder;
  } cases[] = {
      {nullptr, "/tmp/"}, {"", "/tmp/"}, {"/var/tmp", "/var/tmp/"}, {"/var/tmp///", "/var/tmp/"},
      {"/", "/"},         {"///", "/"},  {"relative", "relative/"},
  };
  for (const auto& each : cases) {
    const Variable variable("TMPDIR", each.variable);
    std::array<char, 100> buffer{};
    EXPECT_EQ(PosixSurroundings().TemporaryFolder(buffer), each.folder.size());
    EXPECT_EQ(buffer.data(), each.folder);
  }
}

TEST(PosixSurroundings, TellsTheTimeOfDayOfEveryZone) {
  using namespace std::chrono;
  for (const char* zone : {"UTC0", "EST5EDT,M3.2.0,M11.1.0", "IST-5:30", "<-12>12", "<+14>-14"}) {
    const Variable variable("TZ", zone);
    const PosixSurroundings surroundings;
    // Steps of a little more than five days, through years with and without a leap day, and back
    // before the epoch.
    for (std::int64_t time = -100'000'000; time < 2'000'000'000; time += 450'061) {
      std::tm expected{};
      const std::time_t asked = time;
      ASSERT_NE(localtime_r(&asked, &expected), nullptr);
      const LocalTime local =
          surroundings.At(system_clock::time_point(seconds(time) + 7ms + 999us));
      ASSERT_EQ(local.year, expected.tm_year + 1900) << zone << " " << time;
      ASSERT_EQ(local.month, expected.tm_mon + 1);
      ASSERT_EQ(local.day, expected.tm_mday);
      ASSERT_EQ(local.hour, expected.tm_hour);
      ASSERT_EQ(local.minute, expected.tm_min);
      ASSERT_EQ(local.second, expected.tm_sec);
      ASSERT_EQ(local.millisecond, 7);
    }
  }
}

TEST(PosixSurroundings, SeesTheClocksChangeInTheMinuteTheyDo) {
  const Variable variable("TZ", "EST5EDT,M3.2.0,M11.1.0");
  const PosixSurroundings surroundings;
  const auto spring =
      std::chrono::sys_days(std::chrono::year(2026) / 3 / 8) + std::chrono::hours(7);
  EXPECT_EQ(surroundings.At(spring - std::chrono::milliseconds(1)).hour, 1);
  EXPECT_EQ(surroundings.At(spring).hour, 3);
}

TEST(PosixSurroundings, PrintsDebuggerTextsAsLines) {
  PosixSurroundings surroundings;
  testing::internal::CaptureStderr();
  surroundings.DebugOutput("ERROR");
  surroundings.DebugOutput("with its end\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR\nwith its end\n");
}

}  // namespace
}  // namespace tlk
