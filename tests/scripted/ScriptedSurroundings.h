#pragma once

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Surroundings.h"

namespace tlk::test {

/// Surroundings whose clocks stand still: a sleep alone moves the tick count, and returns at once.
/// Safe to use from any thread once it is set up.
class ScriptedSurroundings final : public Surroundings {
 public:
  std::optional<ProcessTimes> processTimes;

  void SetTemporaryFolder(std::string folder) { m_folder = std::move(folder); }

  [[nodiscard]] std::vector<std::string> DebugTexts() const { return Copy(m_debugTexts); }
  [[nodiscard]] std::vector<std::uint32_t> Sleeps() const { return Copy(m_sleeps); }

  [[nodiscard]] std::uint32_t TemporaryFolder(std::span<char> buffer) const override {
    const auto length = static_cast<std::uint32_t>(m_folder.size());
    if (length >= buffer.size()) return length + 1;
    *std::ranges::copy(m_folder, buffer.begin()).out = '\0';
    return length;
  }

  [[nodiscard]] const char* FallbackFolder() const override { return "/"; }
  [[nodiscard]] char PathSeparator() const override { return '/'; }
  [[nodiscard]] LocalTime Now() const override { return {2026, 11, 16}; }
  [[nodiscard]] std::uint64_t TickCount() const override { return Copy(m_ticks); }

  [[nodiscard]] bool ReadProcessTimes(ProcessTimes& times) const override {
    if (processTimes) times = *processTimes;
    return processTimes.has_value();
  }

  void DebugOutput(const char* text) override {
    const std::lock_guard lock(m_mutex);
    m_debugTexts.emplace_back(text);
  }

  void Sleep(std::uint32_t milliseconds) override {
    const std::lock_guard lock(m_mutex);
    m_sleeps.push_back(milliseconds);
    m_ticks += milliseconds;
  }

 private:
  template <typename T>
  [[nodiscard]] T Copy(const T& value) const {
    const std::lock_guard lock(m_mutex);
    return value;
  }

  mutable std::mutex m_mutex;
  std::string m_folder = "/tmp/";
  std::uint64_t m_ticks = 1'000'000;
  std::vector<std::string> m_debugTexts;
  std::vector<std::uint32_t> m_sleeps;
};

}  // namespace tlk::test
