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

/// Surroundings whose clocks stand still: a sleep alone moves the tick count. Safe to use from any
/// thread.
class ScriptedSurroundings final : public Surroundings {
 public:
  void SetTemporaryFolder(std::string folder) {
    const std::lock_guard lock(m_mutex);
    m_folder = std::move(folder);
  }

  void SetNow(const LocalTime& now) {
    const std::lock_guard lock(m_mutex);
    m_now = now;
  }

  [[nodiscard]] std::vector<std::string> DebugTexts() const { return Copy(m_debugTexts); }
  [[nodiscard]] std::vector<std::uint32_t> Sleeps() const { return Copy(m_sleeps); }

  [[nodiscard]] std::uint32_t TemporaryFolder(std::span<char> buffer) const override {
    const std::lock_guard lock(m_mutex);
    const auto length = static_cast<std::uint32_t>(m_folder.size());
    if (length >= buffer.size()) return length + 1;
    *std::ranges::copy(m_folder, buffer.begin()).out = '\0';
    return length;
  }

  [[nodiscard]] const char* FallbackFolder() const override { return "/"; }
  [[nodiscard]] char PathSeparator() const override { return '/'; }

  void DebugOutput(const char* text) override {
    const std::lock_guard lock(m_mutex);
    m_debugTexts.emplace_back(text);
  }

  [[nodiscard]] LocalTime Now() const override { return Copy(m_now); }
  [[nodiscard]] std::uint64_t TickCount() const override { return Copy(m_ticks); }

  /// Returns at once; the tick count has moved on.
  void Sleep(std::uint32_t milliseconds) override {
    const std::lock_guard lock(m_mutex);
    m_sleeps.push_back(milliseconds);
    m_ticks += milliseconds;
  }

  void SetProcessTimes(std::optional<ProcessTimes> times) {
    const std::lock_guard lock(m_mutex);
    m_processTimes = times;
  }

  [[nodiscard]] bool ReadProcessTimes(ProcessTimes& times) const override {
    const std::optional<ProcessTimes> told = Copy(m_processTimes);
    if (told) times = *told;
    return told.has_value();
  }

 private:
  template <typename T>
  [[nodiscard]] T Copy(const T& value) const {
    const std::lock_guard lock(m_mutex);
    return value;
  }

  mutable std::mutex m_mutex;
  std::string m_folder = "/tmp/";
  LocalTime m_now{2026, 11, 16};
  std::uint64_t m_ticks = 1'000'000;
  std::optional<ProcessTimes> m_processTimes;
  std::vector<std::string> m_debugTexts;
  std::vector<std::uint32_t> m_sleeps;
};

}  // namespace tlk::test
