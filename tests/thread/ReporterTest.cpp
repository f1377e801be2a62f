#include "thread/Reporter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace tlk {
namespace {

std::string Printed(const char* source, const char* condition, const char* message) {
  testing::internal::CaptureStderr();
  Report(Fatal::kNo, source, 518, condition, message);
  return testing::internal::GetCapturedStderr();
}

struct ReportCase {
  const char* source;
  const char* condition;
  const char* message;
  const char* printed;
};

class ReporterTable : public testing::TestWithParam<ReportCase> {};

TEST_P(ReporterTable, PrintsWhatItIsGiven) {
  const ReportCase& c = GetParam();
  EXPECT_EQ(Printed(c.source, c.condition, c.message), c.printed);
}

INSTANTIATE_TEST_SUITE_P(
    Parts, ReporterTable,
    testing::Values(
        ReportCase{"ZThread", "a == 1", "boom", "Assertion failed: a == 1. boom, ZThread:518\n"},
        ReportCase{"a/b/ZThread", "a == 1", nullptr, "Assertion failed: a == 1, ZThread:518\n"},
        ReportCase{"/ZThread", nullptr, "boom", "boom, ZThread:518\n"},
        ReportCase{"ZThread", nullptr, nullptr, "ZThread:518\n"},
        ReportCase{"a\\b\\ZThread", nullptr, nullptr, "a\\b\\ZThread:518\n"},
        ReportCase{"ZThread", "100%d", "%s", "Assertion failed: 100%d. %s, ZThread:518\n"}));

TEST(Reporter, PrintsNoMoreThan1024Characters) {
  // ", Z:518\n" takes eight.
  EXPECT_EQ(Printed("Z", nullptr, std::string(1016, 'm').c_str()),
            std::string(1016, 'm') + ", Z:518\n");
  EXPECT_EQ(Printed("Z", nullptr, std::string(1017, 'm').c_str()),
            std::string(1017, 'm') + ", Z:518");
}

TEST(ReporterDeathTest, EndsTheProcessWithoutAnErrorCodeWhenFatal) {
  EXPECT_EXIT(Report(Fatal::kYes, "ZThread", 518, "priorValue == 1", nullptr),
              testing::ExitedWithCode(0), "Assertion failed: priorValue == 1, ZThread:518\n");
}

TEST(FormatText, FormatsIntoTheOneBufferAndCuts) {
  const char* first = FormatText("%s-%d", "boom", 7);
  EXPECT_STREQ(first, "boom-7");
  EXPECT_EQ(FormatText("%s", std::string(2000, 'x').c_str()), first);
  EXPECT_EQ(std::string(first), std::string(1023, 'x'));
}

}  // namespace
}  // namespace tlk
