#include "log/RecordFormat.h"
#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;

constexpr std::uint32_t kText = 101;

class Record : public LogFixture {
 protected:
  Record() {
    m_strings.texts[{nullptr, kText}] = "%s";
    m_strings.texts[{&m_module, kText}] = "<%s>";
  }

  const int m_module = 0;
};

TEST_F(Record, BearsItsMarkAndTheTextOfItsModuleUpToTheThreshold) {
  m_log->SetLevel(2);
  EXPECT_EQ(m_log->GetLevel(), 2);
  for (const std::int32_t level : {2, 3}) {
    m_log->LogNormal(&m_module, level, kText, "S", 1, "a");
    m_log->LogNormal(level, kText, "S", -1, "a");
    m_log->LogWarning(&m_module, level, kText, "a/S", 2, "a");
    m_log->LogWarning(level, kText, "S", 2, "a");
    m_log->LogError(&m_module, level, kText, "S", 3, "a");
    m_log->LogError(level, kText, "S", 3, "a");
  }
  EXPECT_THAT(Written(), ElementsAre("N <a> (S - 1)", "N a (S - -1)", "W <a> (a/S - 2)",
                                     "W a (S - 2)", "E <a> (S - 3)", "E a (S - 3)"));
}

TEST_F(Record, IsStampedWithTimeAndThread) {
  m_surroundings.SetNow({2026, 1, 2, 3, 4, 5, 6});
  m_log->LogNormal(0, kText, "C:\\src\\Tlkc", 68, "Disconnect requested.");
  m_log->Write("bare");
  ASSERT_EQ(m_log->Flush(), 0U);
  const std::string stamp = "01/02/2026 03:04:05.006  (" +
                            std::to_string(static_cast<std::int32_t>(m_sync.CurrentThreadId())) +
                            ") ";
  EXPECT_THAT(Lines("t.log"),
              ElementsAre(stamp + "N Disconnect requested. (Tlkc - 68)", stamp + "bare"));
}

TEST_F(Record, TakesItsFormatFromTheTable) {
  m_strings.texts[{nullptr, 1}] = "%S at %d of %u";
  m_strings.texts[{nullptr, kPlainTextMessage}] = "not this";
  m_strings.texts[{&m_module, kPlainTextMessage}] = "%s, twice %s";
  m_log->LogError(0, 1, "S", 1, L"Type", -5, 7U);
  m_log->LogError(0, 1, "S", 1, L"\x20AC cannot be converted", -5, 7U);
  m_log->LogNormal(&m_module, 0, 9999, "S", 1, "never seen");
  m_log->LogNormal(0, kPlainTextMessage, "S", 1, "100%s");
  m_log->LogNormal(&m_module, 0, kPlainTextMessage, "S", 1, "a", "b");
  EXPECT_THAT(Written(),
              ElementsAre("E Type at -5 of 7 (S - 1)", testing::EndsWith(" (S - 1)"),
                          "N Unknown message (S - 1)", "N 100%s (S - 1)", "N a, twice b (S - 1)"));
}

TEST_F(Record, IsCutBehind8192Characters) {
  const std::string most(8192, 'x');
  m_log->LogNormal(0, kText, "S", 1, (most + "y").c_str());
  EXPECT_THAT(Written(), ElementsAre("N " + most + " (S - 1)"));
}

}  // namespace
}  // namespace tlk::test
