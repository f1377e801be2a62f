#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Surroundings.h"

namespace tlk::test {

/// Surroundings whose clocks stand still: a sleep alone moves the tick count, and returns at once.
/// Safe to use from any thread once it is set up, but for the debugger's texts.
class ScriptedSurroundings final : public Surroundings {
 public:
  std::optional<ProcessTimes> processTimes;
  mutable std::string temporaryFolder = "/tmp/";
  std::string laterFolder = "/tmp/";  ///< Takes its place once it was too long.
  std::vector<std::string> debugTexts;

  [[nodiscard]] std::vector<std::uint32_t> Sleeps() const {
    const std::lock_guard lock(m_mutex);
    return m_sleeps;
  }

  [[nodiscard]] std::uint32_t TemporaryFolder(std::span<char> buffer) const override {
    const auto length = static_cast<std::uint32_t>(temporaryFolder.size());
    if (length < buffer.size()) {
      *std::ranges::copy(temporaryFolder, buffer.begin()).out = '\0';
      return length;
    }
    temporaryFolder = laterFolder;
    return length + 1;
  }

  [[nodiscard]] const char* FallbackFolder() const override { return "/"; }
  [[nodiscard]] char PathSeparator() const override { return '/'; }
  [[nodiscard]] LocalTime Now() const override { return {2026, 11, 16}; }
  [[nodiscard]] std::uint64_t TickCount() const override { return m_ticks; }

  [[nodiscard]] bool ReadProcessTimes(ProcessTimes& times) const override {
    if (processTimes) times = *processTimes;
    return processTimes.has_value();
  }

  void DebugOutput(const char* text) override { debugTexts.emplace_back(text); }

  void Sleep(std::uint32_t milliseconds) override {
    const std::lock_guard lock(m_mutex);
    m_sleeps.push_back(milliseconds);
    m_ticks += milliseconds;
  }

 private:
  mutable std::mutex m_mutex;
  std::atomic<std::uint64_t> m_ticks = 1'000'000;
  std::vector<std::uint32_t> m_sleeps;
};

}  // namespace tlk::test
