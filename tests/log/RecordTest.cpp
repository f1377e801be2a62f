#include "log/RecordFormat.h"

#include <cstdio>

#include "tests/log/LogFixture.h"

namespace tlk::test {

constexpr std::uint32_t kText = 101;
const int kModule = 0;

using Record = LogFixture;

TEST_F(Record, BearsItsMarkAndTheTextOfItsModuleUpToTheThreshold) {
  m_strings.texts = {{{nullptr, kText}, "%s"}, {{&kModule, kText}, "<%s>"}};
  m_log->SetLevel(2);
  EXPECT_EQ(m_log->GetLevel(), 2);
  for (const std::int32_t level : {2, 3}) {
    m_log->LogNormal(&kModule, level, kText, "S", 1, "a");
    m_log->LogNormal(level, kText, "S", -1, "a");
    m_log->LogWarning(&kModule, level, kText, "a/S", 2, "a");
    m_log->LogWarning(level, kText, "S", 2, "a");
    m_log->LogError(&kModule, level, kText, "C:\\src\\S", 3, "a");
    m_log->LogError(level, kText, "S", 3, "a");
  }
  m_log->Write("finished");
  Flush();
  EXPECT_THAT(Records(), ElementsAre("N <a> (S - 1)", "N a (S - -1)", "W <a> (a/S - 2)",
                                     "W a (S - 2)", "E <a> (S - 3)", "E a (S - 3)", "finished"));
  EXPECT_THAT(m_files.Contents()["t.log"],
              StartsWith("11/16/2026 00:00:00.000  (" + std::to_string(m_thread) + ") N "));
}

TEST_F(Record, TakesItsFormatFromTheTableAndIsCut) {
  const std::string whole(8192, 'x');
  m_strings.texts = {{{nullptr, kPlainTextMessage}, "not this"},
                     {{&kModule, kPlainTextMessage}, "%s, twice %s"}};
  m_log->LogError(0, kPlainTextMessage, "", 1, "100%s");
  m_log->LogError(&kModule, 0, kPlainTextMessage, "", 1, "a", "b");
  m_log->LogError(&kModule, 0, 9999, "", 1, "never seen");
  for (const std::string& text : {whole, whole + "y"})
    m_log->LogError(0, kPlainTextMessage, "", 1, text.c_str());
  for (const char* const text : {"%S at %d of %u", "x", "xs", "%%", "%S!", whole.c_str()}) {
    m_strings.texts[{nullptr, kText}] = text;
    m_log->LogError(0, kText, "", 1, L"Type", -5, 7U);
  }
  m_strings.texts[{nullptr, kText}] = "%S";
  m_log->LogError(0, kText, "", 1, L"\x20AC cannot be converted");
  Flush();
  std::vector<std::string> messages;
  for (const std::string& record : Records())
    messages.push_back(record.substr(2, record.rfind(" ( - 1)") - 2));
  EXPECT_THAT(messages,
              ElementsAre("100%s", "a, twice b", "Unknown message", whole, whole, "Type at -5 of 7",
                          "x", "xs", "%", "Type!", whole.substr(1), testing::_));
}

TEST(RecordTime, IsThatOfTheClockCutBehind50Characters) {
  const auto expectTime = [](const LocalTime& now) {
    char time[128];
    std::snprintf(time, sizeof time, "%.2d/%.2d/%.2d %.2d:%.2d:%.2d.%.3d", now.month, now.day,
                  now.year, now.hour, now.minute, now.second, now.millisecond);
    EXPECT_EQ(RecordStamp(now, 7, "E ").View(), std::string(time).substr(0, 50) + "  (7) E ");
  };
  for (const auto field : {&LocalTime::year, &LocalTime::month, &LocalTime::day, &LocalTime::hour,
                           &LocalTime::minute, &LocalTime::second, &LocalTime::millisecond}) {
    for (const int value : {-1, 0, 99, 100, 999, 1000, 9999, 10000}) {
      LocalTime now{2026, 1, 2, 3, 4, 5, 6};
      now.*field = value;
      expectTime(now);
    }
  }
  expectTime({2026, -1'999'999'999, -1'999'999'999, -1'999'999'999, -1'999'999'999, 5, 6});
}

}  // namespace tlk::test
