#include <fstream>
#include <random>
#include <stdexcept>

#include "log/LogRotation.h"
#include "tests/log/LogFixture.h"

namespace tlk::test {

TEST(Rotation, MovesEachFileOneGenerationOn) {
  std::ifstream rows(TLKC2_ROTATIONS);
  int played = 0;
  for (std::string row; std::getline(rows, row);) {
    std::istringstream words(row);
    LogPlace place{"", "", '\\'};
    std::int32_t fileCount = 0;
    int failingRename = 0;
    std::string end;
    if (!(words >> place.directory >> place.fileName >> fileCount >> failingRename >> end))
      continue;
    if (place.directory == "-") place.directory.clear();
    SCOPED_TRACE(row);
    ScriptedFiles files;
    int calls = 0;
    files.answer = [&](FileCall call, auto /*path*/) -> std::optional<std::int64_t> {
      if (++calls > 100) throw std::length_error("a rotation without an end");
      const bool isFailing = call == FileCall::kRename && --failingRename == 0;
      return isFailing ? std::optional(-1) : std::nullopt;
    };
    for (std::string name; words >> name && name != "->";) files.SetContent(name, name);
    EXPECT_EQ(RotateFiles(files, place, fileCount), end == "moved");
    for (const auto& [name, former] : files.Contents()) {
      words >> end;
      EXPECT_EQ(name + "=" + former, end);
    }
    EXPECT_TRUE(words.eof());
    ++played;
  }
  EXPECT_EQ(played, 16);
}

using LogFiles = LogFixture;

// Each line is tried once, whole and in order. Those that were written are in the files, in order,
// or went with a file that was deleted.
TEST_F(LogFiles, HoldWholeRecordsInOrderWhateverCallsFail) {
  std::minstd_rand random;
  for (int round = 0; round < 25; ++round) {
    const std::string path = std::to_string(round) + "/t";
    m_log->KeepDirectory(std::to_string(round));
    m_log->SetDirectory("not this");
    m_log->SetRotation(90, round % 5);
    std::string given;
    std::string tried;
    std::string gone;
    std::atomic<int> left = 50;  // So many lines meet failing calls.
    m_files.answer = [&](FileCall call, std::string_view what) -> std::optional<std::int64_t> {
      const bool isFailing = left > 0 && random() % 4 == 0;
      if (call == FileCall::kAppend) {
        EXPECT_EQ(what.size(), 60U);
        tried += what.back();
        if (isFailing) gone += what.back();
        --left;
      }
      if (isFailing)
        return random() % 2 == 0 ? append_result::kNotOpened : append_result::kNotWritten;
      if (call == FileCall::kRemove) gone += Letters(std::string(what));
      return std::nullopt;
    };
    testing::internal::CaptureStdout();
    for (char letter = 'A'; left > 0; letter = std::min<char>(letter + 1, '~')) {
      given += std::string(2, letter);
      Write(given.substr(given.size() - 2));
      std::this_thread::yield();
    }
    Flush();
    EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::HasSubstr("Unable to open "));
    EXPECT_EQ(tried, given);
    std::string kept;
    for (const char* const number : {"4", "3", "2", "1", ""})
      kept += Letters(path + number + ".log");
    EXPECT_TRUE(std::ranges::is_sorted(kept)) << kept;
    gone += kept;
    std::ranges::sort(gone);
    EXPECT_EQ(gone, given);
  }
}

TEST_F(LogFiles, AreScannedByTheirNumbersForErrorsAndWarnings) {
  const auto markAt = [](std::size_t position, const std::string& mark) {
    return std::string(position, '.') + ") " + mark + " text";
  };
  // A line is read in pieces of 8,191 characters, each a line of its own.
  const std::string piece = "(1) E " + std::string(8185, 'x');
  // A text ends at a zero byte.
  const std::string zeroBytes("(1) E a\0b\nt\0 (1) E a\n", 21);
  const std::string lateError = markAt(5, "W") + markAt(60, "E");
  m_files.SetContent("/quillon.log", "(1) N a\n(1) W b\rreturns\r\n(1) e c\n(1)E d\n" + zeroBytes +
                                         markAt(49, "E") + "\n" + markAt(50, "E") + "\n" +
                                         markAt(49, "W") + "\n" + markAt(50, "W") + "\n" +
                                         lateError + "\n" + piece +
                                         "(2) E rest\n(1) E no line end");
  m_files.SetContent("d/quillon3.log", "(1) E in d");
  // A pipe in the file's place held everybody who logs, for ever.
  m_files.answer = [this](FileCall call, auto /*what*/) -> std::optional<std::int64_t> {
    if (call != FileCall::kRead) return std::nullopt;
    const auto producer = std::async(std::launch::async, [this] { m_log->Write("meanwhile"); });
    EXPECT_EQ(producer.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    return std::nullopt;
  };
  LineList lines;
  // Without a directory it looks in the root folder, not in the current one.
  EXPECT_EQ(m_log->ScanLog(0, lines), 1);
  m_log->SetDirectory("d");
  EXPECT_EQ(m_log->ScanLog(3, lines), 1);
  EXPECT_EQ(m_log->ScanLog(0, lines), 89);
  EXPECT_THAT(lines, ElementsAre("(1) W b returns  ", "(1) E a", markAt(49, "E") + " ",
                                 markAt(49, "W") + " ", lateError + " ", piece, "(2) E rest ",
                                 "(1) E no line end", "(1) E in d"));
}

}  // namespace tlk::test
