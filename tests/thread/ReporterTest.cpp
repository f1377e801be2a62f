#include "thread/Reporter.h"

#include <gtest/gtest.h>

#include <string>

namespace tlk {
namespace {

std::string Printed(const char* source, const char* condition, const char* message) {
  testing::internal::CaptureStderr();
  Report(Fatal::kNo, source, 518, condition, message);
  return testing::internal::GetCapturedStderr();
}

TEST(Reporter, PrintsWhatItIsGivenUpTo1024Characters) {
  EXPECT_EQ(Printed("ZThread", "100%d", "%s"), "Assertion failed: 100%d. %s, ZThread:518\n");
  EXPECT_EQ(Printed("a/b/ZThread", "a == 1", nullptr), "Assertion failed: a == 1, ZThread:518\n");
  EXPECT_EQ(Printed("/ZThread", nullptr, "boom"), "boom, ZThread:518\n");
  EXPECT_EQ(Printed("a\\b\\ZThread", nullptr, nullptr), "a\\b\\ZThread:518\n");
  const std::string whole(1016, 'm');  // ", Z:518\n" takes eight.
  EXPECT_EQ(Printed("Z", nullptr, whole.c_str()), whole + ", Z:518\n");
  EXPECT_EQ(Printed("Z", nullptr, (whole + "m").c_str()), whole + "m, Z:518");
}

TEST(ReporterDeathTest, EndsTheProcessWithoutAnErrorCodeWhenFatal) {
  EXPECT_EXIT(Report(Fatal::kYes, "ZThread", 518, "priorValue == 1", nullptr),
              testing::ExitedWithCode(0), "Assertion failed: priorValue == 1, ZThread:518\n");
}

TEST(FormatText, CutsBehind1023Characters) {
  EXPECT_STREQ(FormatText("%s-%d", "boom", 7), "boom-7");
  EXPECT_EQ(FormatText("%s", std::string(2000, 'x').c_str()), std::string(1023, 'x'));
}

}  // namespace
}  // namespace tlk
