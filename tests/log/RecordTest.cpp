#include "log/RecordFormat.h"

#include <cstdio>
#include <cstring>

#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;

constexpr std::uint32_t kText = 101;

class Record : public LogFixture {
 protected:
  void SetText(ModuleHandle module, std::uint32_t number, const std::string& text) {
    m_strings.texts[{module, number}] = text;
  }

  const int m_module = 0;
};

TEST_F(Record, BearsItsMarkAndTheTextOfItsModuleUpToTheThreshold) {
  SetText(nullptr, kText, "%s");
  SetText(&m_module, kText, "<%s>");
  m_log->SetLevel(2);
  EXPECT_EQ(m_log->GetLevel(), 2);
  for (const std::int32_t level : {2, 3}) {
    m_log->LogNormal(&m_module, level, kText, "S", 1, "a");
    m_log->LogNormal(level, kText, "S", -1, "a");
    m_log->LogWarning(&m_module, level, kText, "a/S", 2, "a");
    m_log->LogWarning(level, kText, "S", 2, "a");
    m_log->LogError(&m_module, level, kText, "C:\\src\\S", 3, "a");
    m_log->LogError(level, kText, "S", 3, "a");
  }
  m_log->Write("finished");
  Flush();
  EXPECT_THAT(Records(), ElementsAre("N <a> (S - 1)", "N a (S - -1)", "W <a> (a/S - 2)",
                                     "W a (S - 2)", "E <a> (S - 3)", "E a (S - 3)", "finished"));
  EXPECT_THAT(m_files.Contents()["t.log"], testing::StartsWith("11/16/2026 00:00:00.000  (" +
                                                               std::to_string(m_thread) + ") N "));
}

TEST_F(Record, TakesItsFormatFromTheTableAndIsCut) {
  const std::string whole(8192, 'x');
  const std::string format = whole.substr(1);
  SetText(nullptr, kPlainTextMessage, "not this");
  SetText(&m_module, kPlainTextMessage, "%s, twice %s");
  m_log->LogError(0, kPlainTextMessage, "S", 1, "100%s");
  m_log->LogError(&m_module, 0, kPlainTextMessage, "S", 1, "a", "b");
  m_log->LogError(&m_module, 0, 9999, "S", 1, "never seen");
  for (const std::string& text : {whole, whole + "y"})
    m_log->LogError(0, kPlainTextMessage, "S", 1, text.c_str());
  for (const char* const text : {"%S at %d of %u", "x", "xs", "%%", "%S!", whole.c_str()}) {
    SetText(nullptr, kText, text);
    m_log->LogError(0, kText, "S", 1, L"Type", -5, 7U);
  }
  SetText(nullptr, kText, "%S");
  m_log->LogError(0, kText, "S", 1, L"\x20AC cannot be converted");
  Flush();
  std::vector<std::string> messages;
  for (const std::string& record : Records())
    messages.push_back(record.substr(2, record.size() - 2 - std::strlen(" (S - 1)")));
  EXPECT_THAT(messages,
              ElementsAre("100%s", "a, twice b", "Unknown message", whole, whole, "Type at -5 of 7",
                          "x", "xs", "%", "Type!", format, testing::_));
}

TEST(RecordTime, IsThatOfTheClockCutBehind50Characters) {
  const auto stamp = [](const LocalTime& now) {
    return std::string(RecordStamp(now, 7, "E ").View());
  };
  for (int n = 0; n < 100; ++n) {
    char usual[64];
    std::snprintf(usual, sizeof usual, "%02d/%02d/99%02d %02d:%02d:%02d.%02d0  (7) E ", n, n, n, n,
                  n, n, n);
    EXPECT_EQ(stamp({9900 + n, n, n, n, n, n, 10 * n}), usual);
  }
  const std::pair<LocalTime, std::string> unusual[] = {
      {{999, 1, 2, 3, 4, 5, 6}, "01/02/999 03:04:05.006"},
      {{10000, 1, 2, 3, 4, 5, 6}, "01/02/10000 03:04:05.006"},
      {{2026, 100, 2, 3, 4, 5, 6}, "100/02/2026 03:04:05.006"},
      {{2026, 1, 100, 3, 4, 5, 6}, "01/100/2026 03:04:05.006"},
      {{2026, 1, 2, 100, 4, 5, 6}, "01/02/2026 100:04:05.006"},
      {{2026, 1, 2, 3, 100, 5, 6}, "01/02/2026 03:100:05.006"},
      {{2026, 1, 2, 3, 4, 100, 6}, "01/02/2026 03:04:100.006"},
      {{2026, 1, 2, 3, 4, 5, 1000}, "01/02/2026 03:04:05.1000"},
      {{2026, 1, 2, 3, 4, 5, -1}, "01/02/2026 03:04:05.-001"},
      {{2026, -1999999999, -1999999999, -1999999999, -1999999999, 5, 6},
       "-1999999999/-1999999999/2026 -1999999999:-19999999"},
  };
  for (const auto& [now, text] : unusual) EXPECT_EQ(stamp(now), text + "  (7) E ");
}

}  // namespace
}  // namespace tlk::test
