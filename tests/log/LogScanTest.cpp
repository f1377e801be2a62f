#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "log/QNLogger.h"
#include "tests/log/LogHarness.h"
#include "tests/log/TemporaryFolder.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LogScan : public testing::Test {
 protected:
  LogScan() { m_log.SetDirectory(m_folder.Path()); }

  void WriteFile(const std::string& name, const std::string& content) {
    std::ofstream(m_folder.Path() + "/" + name, std::ios::binary) << content;
  }

  std::int32_t Scan(std::int32_t file) { return m_log.ScanLog(file, m_lines); }

  TemporaryFolder m_folder;
  LogHarness m_harness;
  QNLogger m_log{"other.log", 4, m_harness.platform};
  LineList m_lines;
};

std::string MarkAt(std::size_t position, const std::string& mark) {
  return std::string(position, '.') + ") " + mark + " text";
}

struct LineCase {
  std::string content;
  LineList collected;
};

class LogScanLines : public LogScan, public testing::WithParamInterface<LineCase> {};

TEST_P(LogScanLines, CollectsErrorsAndWarnings) {
  WriteFile("quillon.log", GetParam().content);
  EXPECT_EQ(Scan(0), 1);
  EXPECT_EQ(m_lines, GetParam().collected);
}

INSTANTIATE_TEST_SUITE_P(
    Contents, LogScanLines,
    testing::Values(LineCase{"", {}},
                    LineCase{"t  (1) N a\nt  (1) E b\nt  (1) W c\n----\n",
                             {"t  (1) E b ", "t  (1) W c "}},
                    LineCase{"t  (1) E with\rreturns\r\n", {"t  (1) E with returns  "}},
                    LineCase{"t  (1) E no line end", {"t  (1) E no line end"}},
                    LineCase{MarkAt(49, "E"), {MarkAt(49, "E")}}, LineCase{MarkAt(50, "E"), {}},
                    LineCase{MarkAt(49, "W"), {MarkAt(49, "W")}}, LineCase{MarkAt(50, "W"), {}},
                    // A late error mark does not hide an early warning mark.
                    LineCase{MarkAt(5, "W") + MarkAt(60, "E"), {MarkAt(5, "W") + MarkAt(60, "E")}},
                    LineCase{"t  (1) e lower\nt (1)E close\n", {}},
                    // A text ends at a zero byte.
                    LineCase{std::string("t  (1) E a\0b\n", 13), {"t  (1) E a"}},
                    LineCase{std::string("t\0  (1) E a\n", 12), {}},
                    // A line is read in pieces of 8,191 characters, each a line of its own.
                    LineCase{"(1) E " + std::string(8185, 'x') + "(2) E rest\n",
                             {"(1) E " + std::string(8185, 'x'), "(2) E rest "}}));

TEST_F(LogScan, FindsTheFileByItsNumberAndAddsToTheList) {
  WriteFile("quillon.log", "(1) E zero\n");
  WriteFile("quillon3.log", "(1) E three\n");
  WriteFile("quillon-1.log", "(1) E minus one\n");
  WriteFile("other.log", "(1) E never\n");
  for (const std::int32_t file : {3, 0, -1}) EXPECT_EQ(Scan(file), iLogger::kScanDone);
  EXPECT_THAT(m_lines, ElementsAre("(1) E three ", "(1) E zero ", "(1) E minus one "));
}

TEST_F(LogScan, TellsWhenThereIsNoFile) {
  EXPECT_EQ(Scan(0), 89);
  EXPECT_THAT(m_lines, IsEmpty());
}

TEST_F(LogScan, LooksInTheRootFolderWhenThereIsNoDirectory) {
  WriteFile("quillon3.log", "(1) E in the current folder\n");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(m_folder.Path());
  m_log.SetDirectory("");
  EXPECT_EQ(Scan(3), 89);
  std::filesystem::current_path(before);
}

TEST_F(LogScan, TheLineListOfTheProcessIsEmpty) {
  LineList lines{"mine"};
  m_log.CopyLineList(lines);
  EXPECT_THAT(lines, ElementsAre("mine"));
  m_log.GetLineList(lines);
  EXPECT_THAT(lines, IsEmpty());
}

}  // namespace
}  // namespace tlk::test
