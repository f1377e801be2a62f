#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "log/QNLogger.h"
#include "platform/Platform.h"
#include "tests/scripted/Eventually.h"
#include "tests/scripted/ScriptedFiles.h"
#include "tests/scripted/ScriptedStringTable.h"
#include "tests/scripted/ScriptedSurroundings.h"
#include "tests/scripted/ScriptedSynchronisation.h"
#include "tests/thread/Waiting.h"

namespace tlk::test {

using testing::ElementsAre;
using testing::StartsWith;

/// A log that echoes nothing, on a scripted platform.
struct LogFixture : testing::Test {
  LogFixture() {
    m_log->SetConsoleEcho(false);
    m_files.answer = [this](FileCall call, auto /*what*/) -> std::optional<std::int64_t> {
      if (call != FileCall::kAppend) return ++m_moves, std::nullopt;
      const int line = ++m_arrivals;
      EXPECT_TRUE(Eventually([&] { return m_permits >= line; }));
      return line >= m_badLines.first && line <= m_badLines.last ? m_badLines.result : std::nullopt;
    };
  }

  /// Writes a record of each letter, whose stored line is sixty bytes long.
  void Write(std::string_view letters) const {
    const std::size_t length = 32 - std::to_string(m_thread).size();
    for (const char letter : letters) m_log->Write(std::string(length, letter));
  }

  /// The lines of a file without their times and threads.
  [[nodiscard]] std::vector<std::string> Records(const std::string& path = "t.log") const {
    std::istringstream content(m_files.Contents()[path]);
    std::vector<std::string> records;
    for (std::string line; std::getline(content, line);)
      records.push_back(line.starts_with('-') ? line : line.substr(line.find(") ") + 2));
    return records;
  }

  /// The first letters of the records; for the markers of the queue those of their names.
  [[nodiscard]] std::string Letters(const std::string& path = "t.log") const {
    std::string letters;
    for (const std::string& record : Records(path))
      letters += record[record.find_first_not_of("- ")];
    return letters;
  }

  void Flush() { EXPECT_EQ(m_log->Flush(), 0U); }

  /// Lets the writer write so many lines and stop before the next one.
  void StopBehind(int lines) {
    m_permits = lines;
    EXPECT_TRUE(Eventually([&] { return m_arrivals > lines; }));
  }

  /// Gives a new log its first line, before which the writer stops.
  void WriteAndStop(std::string_view letter) {
    m_permits = 0;
    Write(letter);
    StopBehind(0);
  }

  /// Whether so many threads are in a wait for an event.
  [[nodiscard]] bool AreWaiting(int threads) const {
    return Eventually([&] { return m_sync.eventWaits.going == threads; });
  }

  /// Whether the writer has tried so many lines and sleeps.
  [[nodiscard]] bool IsAsleepBehind(int lines) const {
    return Eventually([&] { return m_arrivals == lines && m_sync.eitherWaits.going == 1; });
  }

  /// Ends the log, and then its writer.
  void EndLog() {
    m_log.reset();
    m_permits = kAllLines;
    m_sync.WaitForThreads();
  }

  /// Appends that give a result and write nothing.
  struct {
    int first = 0;
    int last = 0;
    std::optional<std::int64_t> result = append_result::kNotOpened;
  } m_badLines;

  static constexpr int kAllLines = std::numeric_limits<int>::max();
  std::atomic<int> m_arrivals{0};
  std::atomic<int> m_permits{kAllLines};  ///< How many lines the writer may write.
  int m_moves = 0;  ///< How many files have been deleted or renamed, or tried to be.
  ScriptedStringTable m_strings;
  ScriptedSurroundings m_surroundings;
  ScriptedFiles m_files;
  ScriptedSynchronisation m_sync;  // Waits for the writer, which uses the others.
  const std::int32_t m_thread = static_cast<std::int32_t>(m_sync.CurrentThreadId());
  const Platform m_platform{SystemPlatform().text, m_strings, m_sync, m_surroundings, m_files};
  std::unique_ptr<QNLogger> m_log = std::make_unique<QNLogger>("t.log", 4, m_platform);
};

}  // namespace tlk::test
