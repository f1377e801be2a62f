#pragma once

#include <memory>
#include <utility>

#include "platform/ControlWindow.h"
#include "platform/posix/MessageLoop.h"
#include "platform/posix/NotificationReceiver.h"
#include "platform/posix/TimerQueue.h"

namespace tlk {

/// A window of a message loop.
class MessageWindow final : public ControlWindow,
                            private NotificationReceiver,
                            private TimerReceiver {
 public:
  explicit MessageWindow(MessageLoop& loop);
  ~MessageWindow() override;

  MessageWindow(const MessageWindow&) = delete;
  MessageWindow& operator=(const MessageWindow&) = delete;

  void SetTarget(WindowTarget* target) override { m_target = target; }
  [[nodiscard]] std::uint32_t RegisterMessage(const char* name) override;
  void StartTimer(std::uintptr_t timerId, std::uint32_t milliseconds) override;
  void StopTimer(std::uintptr_t timerId) override;

  /// Says what `Hold` keeps: usually an object that has the window and its target as parts.
  void SetOwner(std::weak_ptr<void> owner) { m_owner = std::move(owner); }
  [[nodiscard]] std::shared_ptr<void> Hold() const override { return m_owner.lock(); }

 private:
  friend class PosixSockets;

  [[nodiscard]] const PosixSockets& LoopSockets() const override;
  void Notify(std::uint32_t message, std::uintptr_t wParam, std::uintptr_t lParam) override;
  void OnTimerDue(std::uintptr_t timerId) override;

  MessageLoop& m_loop;
  WindowTarget* m_target = nullptr;
  std::weak_ptr<void> m_owner;
  WindowTimers m_timers;
};

}  // namespace tlk
