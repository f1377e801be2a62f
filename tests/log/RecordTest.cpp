#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "log/QNLogger.h"
#include "log/RecordFormat.h"
#include "tests/log/LogHarness.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

constexpr std::uint32_t kText = 101;
constexpr std::uint32_t kUnknown = 9999;

class Record : public testing::Test {
 protected:
  Record() {
    m_harness.SetText(nullptr, kText, "%s");
    m_harness.SetText(&m_module, kText, "<%s>");
    m_log.SetConsoleEcho(false);
  }

  // What the one written line holds behind time and thread.
  std::string Written() {
    EXPECT_EQ(m_log.Flush(), 0U);
    const auto lines = m_harness.Lines("t.log");
    if (lines.size() != 1) return "(" + std::to_string(lines.size()) + " lines)";
    return lines[0].substr(lines[0].find(") ") + 2);
  }

  const int m_module = 0;
  LogHarness m_harness;
  QNLogger m_log{"t.log", 4, m_harness.platform};
};

struct FormCase {
  void (*log)(iLogger&, ModuleHandle);
  const char* written;
};

class RecordForm : public Record, public testing::WithParamInterface<FormCase> {};

TEST_P(RecordForm, BearsItsMarkAndTheTextOfItsModule) {
  GetParam().log(m_log, &m_module);
  EXPECT_EQ(Written(), GetParam().written);
}

INSTANTIATE_TEST_SUITE_P(
    All, RecordForm,
    testing::Values(
        FormCase{[](iLogger& log, ModuleHandle m) { log.LogNormal(m, 0, kText, "S", 1, "a"); },
                 "N <a> (S - 1)"},
        FormCase{[](iLogger& log, ModuleHandle) { log.LogNormal(0, kText, "S", -1, "a"); },
                 "N a (S - -1)"},
        FormCase{[](iLogger& log, ModuleHandle m) { log.LogWarning(m, 0, kText, "S", 2, "a"); },
                 "W <a> (S - 2)"},
        FormCase{[](iLogger& log, ModuleHandle) { log.LogWarning(0, kText, "S", 2, "a"); },
                 "W a (S - 2)"},
        FormCase{[](iLogger& log, ModuleHandle m) { log.LogError(m, 0, kText, "S", 3, "a"); },
                 "E <a> (S - 3)"},
        FormCase{[](iLogger& log, ModuleHandle) { log.LogError(0, kText, "S", 3, "a"); },
                 "E a (S - 3)"}));

TEST_F(Record, IsStampedWithTimeAndThread) {
  m_harness.surroundings.SetNow({2026, 11, 16, 1, 12, 28, 123});
  m_log.LogNormal(0, kText, "C:\\src\\Tlkc", 68, "Disconnect requested.");
  m_log.Write("bare");
  ASSERT_EQ(m_log.Flush(), 0U);
  const std::string stamp =
      "11/16/2026 01:12:28.123  (" +
      std::to_string(static_cast<std::int32_t>(m_harness.synchronisation.CurrentThreadId())) + ") ";
  EXPECT_THAT(m_harness.Lines("t.log"),
              ElementsAre(stamp + "N Disconnect requested. (Tlkc - 68)", stamp + "bare"));
}

TEST_F(Record, AboveTheThresholdLeavesNoTrace) {
  m_log.SetLevel(2);
  EXPECT_EQ(m_log.GetLevel(), 2);
  m_log.LogNormal(2, kText, "S", 1, "kept");
  m_log.LogNormal(3, kText, "S", 1, "dropped");
  m_log.LogNormal(&m_module, 3, kText, "S", 1, "dropped");
  m_log.LogWarning(3, kText, "S", 1, "dropped");
  m_log.LogWarning(&m_module, 3, kText, "S", 1, "dropped");
  m_log.LogError(3, kText, "S", 1, "dropped");
  m_log.LogError(&m_module, 3, kText, "S", 1, "dropped");
  EXPECT_EQ(Written(), "N kept (S - 1)");
}

TEST_F(Record, OfAnUnknownNumberSaysSo) {
  m_log.LogNormal(&m_module, 0, kUnknown, "Tlkc", 68, "never seen");
  EXPECT_EQ(Written(), "N Unknown message (Tlkc - 68)");
}

TEST_F(Record, OfPlainTextNeedsNoTableButAModuleMayHaveItsOwn) {
  m_harness.SetText(nullptr, kPlainTextMessage, "not this");
  m_harness.SetText(&m_module, kPlainTextMessage, "%s, twice %s");
  m_log.LogNormal(0, kPlainTextMessage, "S", 1, "100%s");
  m_log.LogNormal(&m_module, 0, kPlainTextMessage, "S", 1, "a", "b");
  ASSERT_EQ(m_log.Flush(), 0U);
  EXPECT_THAT(m_harness.Lines("t.log"),
              ElementsAre(EndsWith(") N 100%s (S - 1)"), EndsWith(") N a, twice b (S - 1)")));
}

TEST_F(Record, TakesWideAndNumericValues) {
  m_harness.SetText(nullptr, 1, "%S at %d of %u");
  m_log.LogError(0, 1, "S", 1, L"Type", -5, 7U);
  EXPECT_EQ(Written(), "E Type at -5 of 7 (S - 1)");
}

TEST_F(Record, KeepsWhatCameBeforeAValueThatCannotBeConverted) {
  m_harness.SetText(nullptr, 1, "before %S after");
  m_log.LogError(0, 1, "S", 1, L"\x20AC");
  EXPECT_THAT(Written(), testing::AllOf(StartsWith("E before "), EndsWith(" (S - 1)")));
}

TEST_F(Record, IsCutBehind8192Characters) {
  m_log.LogNormal(0, kText, "S", 1, std::string(8192, 'x').c_str());
  m_log.LogNormal(0, kText, "S", 1, (std::string(8192, 'x') + "y").c_str());
  ASSERT_EQ(m_log.Flush(), 0U);
  const std::string whole = ") N " + std::string(8192, 'x') + " (S - 1)";
  EXPECT_THAT(m_harness.Lines("t.log"), ElementsAre(EndsWith(whole), EndsWith(whole)));
}

struct StampCase {
  LocalTime time;
  std::uint32_t thread;
  const char* stamp;
};

class Stamp : public testing::TestWithParam<StampCase> {};

TEST_P(Stamp, PadsItsNumbers) {
  const StampCase& c = GetParam();
  EXPECT_EQ(StampedLine(c.time, c.thread, {"a", "", "b"}), std::string(c.stamp) + "ab");
}

INSTANTIATE_TEST_SUITE_P(
    Times, Stamp,
    testing::Values(
        StampCase{{2026, 1, 2, 3, 4, 5, 6}, 2044, "01/02/2026 03:04:05.006  (2044) "},
        StampCase{{2026, 12, 31, 23, 59, 59, 999}, 0, "12/31/2026 23:59:59.999  (0) "},
        StampCase{{7, 10, 10, 0, 0, 0, 0}, 0xFFFFFFFF, "10/10/07 00:00:00.000  (-1) "},
        StampCase{{2147483647, -1, 0, 0, 0, 0, 45}, 1, "-01/00/2147483647 00:00:00.045  (1) "}));

struct SourceCase {
  const char* source;
  const char* name;
};

class Source : public testing::TestWithParam<SourceCase> {};

TEST_P(Source, IsCutAtItsLastBackslash) {
  EXPECT_EQ(SourceName(GetParam().source), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Names, Source,
                         testing::Values(SourceCase{"C:\\src\\Tlkc", "Tlkc"},
                                         SourceCase{"Tlkc", "Tlkc"}, SourceCase{"a/b", "a/b"},
                                         SourceCase{"ends\\", ""}, SourceCase{"", ""}));

}  // namespace
}  // namespace tlk::test
