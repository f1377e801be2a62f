#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/Surroundings.h"

namespace tlk::test {

/// Surroundings whose clocks stand still until the test moves them. Safe to use from any thread.
class ScriptedSurroundings final : public Surroundings {
 public:
  /// What an answer about the temporary folder is.
  enum class FolderAnswer { kPath, kNoPath, kNeedsMoreRoom };

  void SetTemporaryFolder(std::string folder) {
    const std::lock_guard lock(m_mutex);
    m_folder = std::move(folder);
  }

  /// Answers the next requests for the temporary folder one by one, and those after them as a
  /// system would. `kNeedsMoreRoom` asks for `moreRoom` bytes.
  void AnswerFolderRequests(std::vector<FolderAnswer> answers, std::uint32_t moreRoom = 20'000) {
    const std::lock_guard lock(m_mutex);
    m_answers = std::move(answers);
    m_moreRoom = moreRoom;
  }

  /// The sizes of the buffers that came with the requests for the temporary folder.
  [[nodiscard]] std::vector<size_t> FolderRequests() const { return Copy(m_folderRequests); }

  void SetFallbackFolder(std::string folder) { m_fallbackFolder = std::move(folder); }
  void SetPathSeparator(char separator) { m_separator = separator; }

  /// Sets the time of day; the tick count stays.
  void SetNow(const LocalTime& now) {
    using namespace std::chrono;
    const sys_days day = year(now.year) / now.month / now.day;
    const std::lock_guard lock(m_mutex);
    m_now = day + hours(now.hour) + minutes(now.minute) + seconds(now.second) +
            milliseconds(now.millisecond);
  }

  void SetTickCount(std::uint64_t ticks) {
    const std::lock_guard lock(m_mutex);
    m_ticks = ticks;
  }

  /// Moves the time of day and the tick count on together.
  void Advance(std::uint64_t milliseconds) {
    const std::lock_guard lock(m_mutex);
    AdvanceLocked(milliseconds);
  }

  /// Called in each sleep, after the clocks have moved, with no lock held.
  void OnSleep(std::function<void(std::uint32_t)> action) { m_onSleep = std::move(action); }

  [[nodiscard]] std::vector<std::string> DebugTexts() const { return Copy(m_debugTexts); }
  [[nodiscard]] std::vector<std::uint32_t> Sleeps() const { return Copy(m_sleeps); }

  [[nodiscard]] std::uint32_t TemporaryFolder(std::span<char> buffer) const override {
    const std::lock_guard lock(m_mutex);
    m_folderRequests.push_back(buffer.size());
    switch (NextAnswer()) {
      case FolderAnswer::kNoPath:
        return 0;
      case FolderAnswer::kNeedsMoreRoom:
        return m_moreRoom;
      case FolderAnswer::kPath:
        break;
    }
    const auto length = static_cast<std::uint32_t>(m_folder.size());
    if (length >= buffer.size()) return length + 1;
    *std::ranges::copy(m_folder, buffer.begin()).out = '\0';
    return length;
  }

  [[nodiscard]] const char* FallbackFolder() const override { return m_fallbackFolder.c_str(); }
  [[nodiscard]] char PathSeparator() const override { return m_separator; }

  void DebugOutput(const char* text) override {
    const std::lock_guard lock(m_mutex);
    m_debugTexts.emplace_back(text);
  }

  [[nodiscard]] LocalTime Now() const override {
    using namespace std::chrono;
    const std::lock_guard lock(m_mutex);
    const auto day = floor<days>(m_now);
    const year_month_day date(day);
    const hh_mm_ss time(m_now - day);
    return {.year = static_cast<int>(date.year()),
            .month = static_cast<int>(static_cast<unsigned>(date.month())),
            .day = static_cast<int>(static_cast<unsigned>(date.day())),
            .hour = static_cast<int>(time.hours().count()),
            .minute = static_cast<int>(time.minutes().count()),
            .second = static_cast<int>(time.seconds().count()),
            .millisecond = static_cast<int>(time.subseconds().count())};
  }

  [[nodiscard]] std::uint64_t TickCount() const override {
    const std::lock_guard lock(m_mutex);
    return m_ticks;
  }

  /// Returns at once; the clocks have moved on.
  void Sleep(std::uint32_t milliseconds) override {
    {
      const std::lock_guard lock(m_mutex);
      m_sleeps.push_back(milliseconds);
      AdvanceLocked(milliseconds);
    }
    if (m_onSleep) m_onSleep(milliseconds);
  }

 private:
  template <typename T>
  [[nodiscard]] T Copy(const T& value) const {
    const std::lock_guard lock(m_mutex);
    return value;
  }

  [[nodiscard]] FolderAnswer NextAnswer() const {
    if (m_answers.empty()) return FolderAnswer::kPath;
    const FolderAnswer answer = m_answers.front();
    m_answers.erase(m_answers.begin());
    return answer;
  }

  void AdvanceLocked(std::uint64_t milliseconds) {
    m_now += std::chrono::milliseconds(milliseconds);
    m_ticks += milliseconds;
  }

  mutable std::mutex m_mutex;
  std::string m_folder = "/tmp/";
  std::string m_fallbackFolder = "/";
  char m_separator = '/';
  mutable std::vector<FolderAnswer> m_answers;
  std::uint32_t m_moreRoom = 0;
  mutable std::vector<size_t> m_folderRequests;
  std::chrono::sys_time<std::chrono::milliseconds> m_now{
      std::chrono::sys_days(std::chrono::year(2026) / 11 / 16)};
  std::uint64_t m_ticks = 1'000'000;
  std::vector<std::string> m_debugTexts;
  std::vector<std::uint32_t> m_sleeps;
  std::function<void(std::uint32_t)> m_onSleep;
};

}  // namespace tlk::test
