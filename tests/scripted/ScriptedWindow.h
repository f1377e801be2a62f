#pragma once

#include <map>
#include <string>

#include "platform/ControlWindow.h"

namespace tlk::test {

/// A window whose time is moved by hand.
class ScriptedWindow final : public ControlWindow {
 public:
  void SetTarget(WindowTarget* newTarget) override { m_target = newTarget; }

  [[nodiscard]] std::uint32_t RegisterMessage(const char* name) override {
    return std::string(name) == "Tlkc:wsnotify" ? 0xC123 : 0xC000;
  }

  void StartTimer(std::uintptr_t timerId, std::uint32_t milliseconds) override {
    m_timers[timerId] = {true, m_now + milliseconds, milliseconds};
  }

  void StopTimer(std::uintptr_t timerId) override {
    const auto timer = m_timers.find(timerId);
    if (timer != m_timers.end()) timer->second.runs = false;
  }

  [[nodiscard]] bool Runs(std::uintptr_t timerId) const {
    const auto timer = m_timers.find(timerId);
    return timer != m_timers.end() && timer->second.runs;
  }
  [[nodiscard]] bool HasTarget() const { return m_target != nullptr; }

  /// Delivers a notification; false when the target did not treat it.
  bool Notify(std::uintptr_t socket, std::uint32_t event, int error = 0) {
    bool handled = false;
    m_target->OnSocketNotify(0xC123, socket, static_cast<std::uintptr_t>(error) << 16 | event,
                             handled);
    return handled;
  }

  /// Lets time pass; timers run out in their order.
  void Advance(std::uint64_t milliseconds) {
    const auto end = m_now + milliseconds;
    for (auto next = NextDue(end); next != 0; next = NextDue(end)) {
      m_now = m_timers[next].due;
      m_timers[next].due += m_timers[next].period;
      m_target->OnTimer(next);
    }
    m_now = end;
  }

 private:
  struct Timer {
    bool runs = false;
    std::uint64_t due = 0;
    std::uint32_t period = 0;
  };

  [[nodiscard]] std::uintptr_t NextDue(std::uint64_t end) const {
    std::uintptr_t next = 0;
    for (const auto& [id, timer] : m_timers) {
      if (timer.runs && timer.due <= end && (next == 0 || timer.due < m_timers.at(next).due))
        next = id;
    }
    return next;
  }

  WindowTarget* m_target = nullptr;
  std::map<std::uintptr_t, Timer> m_timers;
  std::uint64_t m_now = 0;
};

}  // namespace tlk::test
