#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "platform/ControlWindow.h"
#include "platform/posix/NotificationReceiver.h"
#include "platform/posix/PosixSockets.h"
#include "platform/posix/TimerQueue.h"

namespace tlk {

/// The message loop of one thread: delivers the timers of its windows and the notifications of the
/// sockets that its windows asked about. One wait serves them all, however many there are.
///
/// Everything here belongs to the thread that made the loop. A handler may run the loop again,
/// start and stop timers, close sockets, and destroy windows, its own included. Windows end before
/// the loop. Its end waits until the peers that go on reading have what was sent to them: for up to
/// five seconds in which none of them takes anything. A forked child leaves the loops of its parent
/// alone.
class MessageLoop {
 public:
  MessageLoop() = default;

  MessageLoop(const MessageLoop&) = delete;
  MessageLoop& operator=(const MessageLoop&) = delete;

  /// The sockets whose notifications this loop delivers.
  [[nodiscard]] Sockets& GetSockets() { return m_sockets; }

  /// Waits up to `milliseconds` (no limit when negative) for something to deliver and delivers one
  /// round of it. Returns whether anything was delivered.
  bool DispatchOnce(int milliseconds);

  /// Delivers for that long.
  void Run(std::uint32_t milliseconds);

  /// Delivers as `DispatchOnce` does, but also returns as soon as `descriptor` can be read or has
  /// come to its end; tells whether it has.
  bool DispatchOnceOrReadable(int descriptor, int milliseconds);

 private:
  friend class MessageWindow;

  [[nodiscard]] int WaitLimit(int milliseconds) const;
  bool FireTimers();

  PosixSockets m_sockets;
  TimerQueue m_timers;
};

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

  [[nodiscard]] const PosixSockets& LoopSockets() const override { return m_loop.m_sockets; }
  void Notify(std::uint32_t message, std::uintptr_t wParam, std::uintptr_t lParam) override;
  void OnTimerDue(std::uintptr_t timerId) override;

  MessageLoop& m_loop;
  WindowTarget* m_target = nullptr;
  std::weak_ptr<void> m_owner;
  WindowTimers m_timers;
};

}  // namespace tlk
