#pragma once

#include <cstdint>
#include <memory>

#include "platform/Export.h"

namespace tlk {

/// What a control window calls, always on the window's own thread.
class TLKC2_API WindowTarget {
 public:
  /// A socket notification. `wParam` is the socket; the low half of `lParam` the event, the high
  /// half the error number, 0 for none. Sets `handled` when the message needs no further treatment.
  virtual std::intptr_t OnSocketNotify(std::uint32_t message, std::uintptr_t wParam,
                                       std::uintptr_t lParam, bool& handled) = 0;

  /// A timer has run out. It runs on, period after period, until it is stopped.
  virtual void OnTimer(std::uintptr_t timerId) = 0;

 protected:
  ~WindowTarget() = default;
};

/// The window of one control: the address of its notifications and the owner of its timers.
///
/// Used by one thread, which is also the thread that dispatches to the target. Timers end with the
/// window, and nothing is dispatched after `SetTarget(nullptr)`.
class TLKC2_API ControlWindow {
 public:
  virtual ~ControlWindow() = default;

  /// Says who gets this window's notifications and timers; null for nobody.
  virtual void SetTarget(WindowTarget* target) = 0;

  /// The number of a message name: the same name gives the same number throughout the process.
  [[nodiscard]] virtual std::uint32_t RegisterMessage(const char* name) = 0;

  /// Starts a timer, or restarts it from now if it runs. The first start of a timer may throw
  /// `std::bad_alloc`; none after it does.
  virtual void StartTimer(std::uintptr_t timerId, std::uint32_t milliseconds) = 0;

  /// Stops a timer; nothing happens if it does not run.
  virtual void StopTimer(std::uintptr_t timerId) = 0;

  /// Keeps the window, its target and all that they use alive for as long as the result is kept.
  /// Whoever calls the target keeps it meanwhile, because the target's handler may make its owner
  /// let go of it. Null where the owner sees to that himself.
  [[nodiscard]] virtual std::shared_ptr<void> Hold() const { return nullptr; }
};

}  // namespace tlk
