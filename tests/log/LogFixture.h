#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "log/QNLogger.h"
#include "platform/Platform.h"
#include "tests/scripted/ScriptedFiles.h"
#include "tests/scripted/ScriptedStringTable.h"
#include "tests/scripted/ScriptedSurroundings.h"
#include "tests/scripted/ScriptedSynchronisation.h"

namespace tlk::test {

/// Waits for a condition; false when it has not come true within ten seconds.
template <typename Condition>
[[nodiscard]] bool Eventually(const Condition& condition) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

/// A log that echoes nothing, on a scripted platform.
class LogFixture : public testing::Test {
 protected:
  LogFixture() { m_log->SetConsoleEcho(false); }

  [[nodiscard]] std::vector<std::string> Lines(const std::string& path) const {
    std::istringstream content(m_files.Content(path).value_or(""));
    std::vector<std::string> lines;
    for (std::string line; std::getline(content, line);) lines.push_back(line);
    return lines;
  }

  /// The lines of a file without their times and threads.
  [[nodiscard]] std::vector<std::string> Records(const std::string& path = "t.log") const {
    std::vector<std::string> lines = Lines(path);
    for (std::string& line : lines) {
      const auto mark = line.find(") ");
      if (mark != std::string::npos) line.erase(0, mark + 2);
    }
    return lines;
  }

  /// The records of the log once all are written.
  [[nodiscard]] std::vector<std::string> Written() {
    EXPECT_EQ(m_log->Flush(), 0U);
    return Records();
  }

  /// Stops the writer before each line that is not yet permitted. Call it before the first line.
  void StopWriter() {
    m_files.OnCall([this](const FileCall&) {
      const int line = ++m_arrivals;
      EXPECT_TRUE(Eventually([&] { return m_permits >= line; }));
    });
  }

  [[nodiscard]] bool IsStoppedAt(int line) const {
    return Eventually([&] { return m_arrivals == line; });
  }

  static constexpr int kAllLines = std::numeric_limits<int>::max();
  std::atomic<int> m_arrivals{0};
  std::atomic<int> m_permits{0};
  ScriptedStringTable m_strings;
  ScriptedSurroundings m_surroundings;
  ScriptedFiles m_files;
  ScriptedSynchronisation m_sync;  // Waits for the writer, which uses the others.
  const Platform m_platform{SystemPlatform().text, m_strings, m_sync, m_surroundings, m_files};
  std::unique_ptr<QNLogger> m_log = std::make_unique<QNLogger>("t.log", 4, m_platform);
};

}  // namespace tlk::test
