#pragma once

#include <algorithm>
#include <map>
#include <string_view>

#include "platform/ControlWindow.h"

namespace tlk::test {

/// A window whose time is moved by hand.
class ScriptedWindow final : public ControlWindow {
 public:
  void SetTarget(WindowTarget* newTarget) override { m_target = newTarget; }

  [[nodiscard]] std::uint32_t RegisterMessage(const char* name) override {
    return std::string_view(name) == "Tlkc:wsnotify" ? 0xC123 : 0xC000;
  }

  void StartTimer(std::uintptr_t timerId, std::uint32_t milliseconds) override {
    m_timers[timerId] = {m_now + milliseconds, milliseconds};
  }

  void StopTimer(std::uintptr_t timerId) override {
    if (m_timers.contains(timerId)) m_timers[timerId].due = kNever;
  }

  [[nodiscard]] bool Runs(std::uintptr_t timerId) const {
    return m_timers.contains(timerId) && m_timers.at(timerId).due != kNever;
  }
  [[nodiscard]] bool HasTarget() const { return m_target != nullptr; }

  /// Delivers a notification; false when the target did not treat it, or answered other than 0.
  bool Notify(std::uintptr_t socket, std::uint32_t event, int error = 0) {
    bool handled = false;
    const auto both = static_cast<std::uintptr_t>(error) << 16 | event;
    return m_target->OnSocketNotify(0xC123, socket, both, handled) == 0 && handled;
  }

  /// Lets time pass; timers run out in their order.
  void Advance(std::uint64_t milliseconds) {
    const auto due = [](const auto& timer) { return timer.second.due; };
    const auto end = m_now + milliseconds;
    for (;;) {
      const auto next = std::ranges::min_element(m_timers, {}, due);
      if (next == m_timers.end() || due(*next) > end) break;
      m_now = next->second.due;
      next->second.due += next->second.period;
      m_target->OnTimer(next->first);
    }
    m_now = end;
  }

 private:
  // A timer that does not run keeps its place: only the first start of one may ask for memory.
  static constexpr std::uint64_t kNever = ~std::uint64_t{0};

  struct Timer {
    std::uint64_t due = kNever;
    std::uint32_t period = 0;
  };

  WindowTarget* m_target = nullptr;
  std::map<std::uintptr_t, Timer> m_timers;
  std::uint64_t m_now = 0;
};

}  // namespace tlk::test
