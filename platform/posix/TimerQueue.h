#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace tlk {

class TimerQueue;

/// Who is told that a timer has run out.
class TimerReceiver {
 public:
  virtual void OnTimerDue(std::uintptr_t timerId) = 0;

 protected:
  ~TimerReceiver() = default;
};

/// The timers of one window, by number. They leave the queue with it.
class WindowTimers {
 public:
  WindowTimers(TimerQueue& queue, TimerReceiver& receiver);
  ~WindowTimers();

  WindowTimers(const WindowTimers&) = delete;
  WindowTimers& operator=(const WindowTimers&) = delete;

  void Start(std::uintptr_t id, std::uint32_t milliseconds);
  void Stop(std::uintptr_t id);

 private:
  friend class TimerQueue;
  struct Timer;

  TimerQueue& m_queue;
  TimerReceiver& m_receiver;
  std::vector<std::unique_ptr<Timer>> m_timers;
};

/// When the timers of a thread's windows run out.
///
/// Idle timers are restarted with every message and hardly ever run out, so a restart only moves
/// the timer's own deadline; its place in the queue is put right when it comes to the front.
class TimerQueue {
 public:
  using Clock = std::chrono::steady_clock;

  /// Milliseconds until the queue wants to be looked at, rounded up; -1 when it is empty.
  [[nodiscard]] int MillisecondsToNext() const;

  /// Tells the receiver of one timer that has run out by `now`, its next period being queued
  /// already. Returns whether there was one.
  bool FireOne(Clock::time_point now);

 private:
  friend class WindowTimers;
  using Queue = std::multimap<Clock::time_point, WindowTimers::Timer*>;

  void Enqueue(WindowTimers::Timer& timer);
  void TakeOut(WindowTimers::Timer& timer);

  Queue m_queue;
};

}  // namespace tlk
