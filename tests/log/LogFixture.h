#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
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

namespace tlk::test {

using Strings = std::vector<std::string>;

/// A log that echoes nothing, on a scripted platform.
class LogFixture : public testing::Test {
 protected:
  LogFixture() {
    m_log->SetConsoleEcho(false);
    m_files.answer = [this](const FileCall& call) -> std::optional<std::int64_t> {
      if (call.kind != FileCall::Kind::kAppend) return std::nullopt;
      const int line = ++m_arrivals;
      EXPECT_TRUE(Eventually([&] { return m_permits >= line; }));
      return m_answer ? m_answer(line) : std::nullopt;
    };
  }

  void Write(const Strings& records) {
    for (const std::string& record : records) m_log->Write(record);
  }

  /// The lines of a file without their times and threads.
  [[nodiscard]] Strings Records(const std::string& path = "t.log") const {
    std::istringstream content(m_files.Contents()[path]);
    Strings records;
    for (std::string line; std::getline(content, line);)
      records.push_back(line.starts_with('-') ? line : line.substr(line.find(") ") + 2));
    return records;
  }

  /// The records of the log once all are written.
  [[nodiscard]] Strings Written() {
    EXPECT_EQ(m_log->Flush(), 0U);
    return Records();
  }

  /// Lets the writer write so many lines and stop before the next one.
  void StopBehind(int lines) {
    m_permits = lines;
    EXPECT_TRUE(Eventually([&] { return m_arrivals > lines; }));
  }

  /// Gives a new log its first line, before which the writer stops.
  void WriteAndStop(const std::string& record) {
    m_permits = 0;
    m_log->Write(record);
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

  static constexpr int kAllLines = std::numeric_limits<int>::max();
  std::atomic<int> m_arrivals{0};
  std::atomic<int> m_permits{kAllLines};  ///< How many lines the writer may write.
  std::function<std::optional<std::int64_t>(int)> m_answer;  ///< Of the append of that number.
  ScriptedStringTable m_strings;
  ScriptedSurroundings m_surroundings;
  ScriptedFiles m_files;
  ScriptedSynchronisation m_sync;  // Waits for the writer, which uses the others.
  const Platform m_platform{SystemPlatform().text, m_strings, m_sync, m_surroundings, m_files};
  std::unique_ptr<QNLogger> m_log = std::make_unique<QNLogger>("t.log", 4, m_platform);
};

}  // namespace tlk::test
