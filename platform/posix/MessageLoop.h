#pragma once

#include <cstdint>
#include <memory>

#include "platform/ControlWindow.h"
#include "platform/Sockets.h"

namespace tlk {

/// The message loop of one thread: delivers the timers of its windows and the notifications of the
/// sockets that its windows asked about. One wait serves them all, however many there are.
///
/// Everything here belongs to the thread that made the loop. A handler may run the loop again, start
/// and stop timers, close sockets, and destroy windows, its own included. Windows end before the loop.
class MessageLoop {
 public:
  MessageLoop();
  ~MessageLoop();

  MessageLoop(const MessageLoop&) = delete;
  MessageLoop& operator=(const MessageLoop&) = delete;

  /// The sockets whose notifications this loop delivers.
  [[nodiscard]] Sockets& GetSockets();

  /// Waits up to `milliseconds` (no limit when negative) for something to deliver and delivers one
  /// round of it. Returns whether anything was delivered.
  bool DispatchOnce(int milliseconds);

  /// Delivers for that long.
  void Run(std::uint32_t milliseconds);

  /// Delivers as `DispatchOnce` does, but also returns as soon as `descriptor` can be read; tells
  /// whether it can. -1 stands for none.
  bool DispatchOnceOrReadable(int descriptor, int milliseconds);

 private:
  friend class MessageWindow;
  class Implementation;
  std::unique_ptr<Implementation> m_implementation;
};

/// A window of a message loop.
class MessageWindow : public ControlWindow {
 public:
  explicit MessageWindow(MessageLoop& loop);
  ~MessageWindow() override;

  MessageWindow(const MessageWindow&) = delete;
  MessageWindow& operator=(const MessageWindow&) = delete;

  void SetTarget(WindowTarget* target) override;
  [[nodiscard]] std::uint32_t RegisterMessage(const char* name) override;
  void StartTimer(std::uintptr_t timerId, std::uint32_t milliseconds) override;
  void StopTimer(std::uintptr_t timerId) override;

 private:
  friend class MessageLoop;
  class Implementation;
  std::unique_ptr<Implementation> m_implementation;
};

}  // namespace tlk
