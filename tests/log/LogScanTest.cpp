#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "tests/log/LogFixture.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;

class LogScan : public LogFixture {
 protected:
  LogScan() {
    EXPECT_TRUE(std::filesystem::create_directory(m_folder));
    m_log->SetDirectory(m_folder);
  }
  ~LogScan() override { std::filesystem::remove_all(m_folder); }

  void WriteFile(const std::string& name, const std::string& content) {
    std::ofstream(m_folder + "/" + name, std::ios::binary) << content;
  }

  const std::string m_folder = (std::filesystem::temp_directory_path() /
                                ("tlkc2-scan-" + std::to_string(std::random_device()())))
                                   .string();
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
  WriteFile("quillon.log", "(1) N a\n(1) W b\rreturns\r\n(1) e c\n(1)E d\n" + zeroBytes +
                               MarkAt(49, "E") + "\n" + MarkAt(50, "E") + "\n" + MarkAt(49, "W") +
                               "\n" + MarkAt(50, "W") + "\n" + lateError + "\n" + piece +
                               "(2) E rest\n(1) E no line end");
  EXPECT_EQ(m_log->ScanLog(0, m_lines), 1);
  EXPECT_THAT(m_lines, ElementsAre("(1) W b returns  ", "(1) E a", MarkAt(49, "E") + " ",
                                   MarkAt(49, "W") + " ", lateError + " ", piece, "(2) E rest ",
                                   "(1) E no line end"));
}

TEST_F(LogScan, FindsTheFileByItsNumberAndAddsToTheList) {
  WriteFile("quillon.log", "(1) E zero\n");
  WriteFile("quillon3.log", "(1) E three\n");
  for (const std::int32_t file : {3, 0}) EXPECT_EQ(m_log->ScanLog(file, m_lines), 1);
  EXPECT_EQ(m_log->ScanLog(4, m_lines), 89);
  EXPECT_THAT(m_lines, ElementsAre("(1) E three ", "(1) E zero "));

  // Without a directory it looks in the root folder, not in the current one.
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(m_folder);
  m_log->SetDirectory("");
  EXPECT_EQ(m_log->ScanLog(3, m_lines), 89);
  std::filesystem::current_path(before);
}

}  // namespace
}  // namespace tlk::test
