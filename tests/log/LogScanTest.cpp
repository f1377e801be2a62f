#include <future>
#include <string>

#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;

class LogScan : public LogFixture {
 protected:
  LogScan() { m_log->SetDirectory("d"); }

  LineList m_lines;
};

std::string MarkAt(std::size_t position, const std::string& mark) {
  return std::string(position, '.') + ") " + mark + " text";
}

TEST_F(LogScan, CollectsErrorsAndWarnings) {
  // A line is read in pieces of 8,191 characters, each a line of its own.
  const std::string piece = "(1) E " + std::string(8185, 'x');
  // A text ends at a zero byte.
  const std::string zeroBytes("(1) E a\0b\nt\0 (1) E a\n", 21);
  const std::string lateError = MarkAt(5, "W") + MarkAt(60, "E");
  m_files.SetContent("d/quillon.log", "(1) N a\n(1) W b\rreturns\r\n(1) e c\n(1)E d\n" + zeroBytes +
                                          MarkAt(49, "E") + "\n" + MarkAt(50, "E") + "\n" +
                                          MarkAt(49, "W") + "\n" + MarkAt(50, "W") + "\n" +
                                          lateError + "\n" + piece +
                                          "(2) E rest\n(1) E no line end");
  EXPECT_EQ(m_log->ScanLog(0, m_lines), 1);
  EXPECT_THAT(m_lines, ElementsAre("(1) W b returns  ", "(1) E a", MarkAt(49, "E") + " ",
                                   MarkAt(49, "W") + " ", lateError + " ", piece, "(2) E rest ",
                                   "(1) E no line end"));
}

TEST_F(LogScan, FindsTheFileByItsNumberAndAddsToTheList) {
  for (const char* const path : {"d/quillon.log", "d/quillon3.log", "/quillon4.log"})
    m_files.SetContent(path, "(1) E " + std::string(path));
  for (const std::int32_t file : {3, 0}) EXPECT_EQ(m_log->ScanLog(file, m_lines), 1);
  EXPECT_EQ(m_log->ScanLog(4, m_lines), 89);
  // Without a directory it looks in the root folder, not in the current one.
  m_log->SetDirectory("");
  EXPECT_EQ(m_log->ScanLog(4, m_lines), 1);
  EXPECT_THAT(m_lines,
              ElementsAre("(1) E d/quillon3.log", "(1) E d/quillon.log", "(1) E /quillon4.log"));
}

// A pipe in the file's place held everybody who logs, for ever.
TEST_F(LogScan, HoldsNobodyBackWhileTheDiskIsSlow) {
  m_files.answer = [this](const FileCall& call) -> std::optional<std::int64_t> {
    if (call.kind != FileCall::Kind::kRead) return std::nullopt;
    const auto producer = std::async(std::launch::async, [this] { m_log->Write("meanwhile"); });
    EXPECT_EQ(producer.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    return -1;
  };
  EXPECT_EQ(m_log->ScanLog(0, m_lines), 89);
}

}  // namespace
}  // namespace tlk::test
