#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/host/Command.h"
#include "tools/tlk/host/ControlDriver.h"
#include "tools/tlk/host/SessionControl.h"

namespace tlk::host {

/// Runs the commands of the console on the controls of a driver and prints results and events in
/// the order in which they happen.
///
/// Controls are numbered from 1; the first one is there from the start, and a number is never used
/// again. A command acts on the control in use, or, inside a handler, on the control whose event
/// runs the handler: `wait` and `on` mean that control's events. After `destroy` no control is in
/// use until the next `new` or `use`; a control that is destroyed inside one of its own calls or
/// events falls silent at once and is freed when they have returned.
///
/// Handlers of one control and event run one per event, in the order in which they were given.
/// After `quit` no handler runs any more and no wait lasts any longer.
///
/// Used by one thread. The driver outlives the session.
class HostSession {
 public:
  /// Takes one line of output, without its line end.
  using Print = std::function<void(std::string_view line)>;

  HostSession(ControlDriver& driver, Print print);
  ~HostSession();

  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  /// Runs one line of input.
  void RunLine(std::string_view line);

  /// Delivers until standard input can be read; false when the session has ended meanwhile.
  bool WaitForInput();

  /// Whether `quit` was run.
  [[nodiscard]] bool Ended() const { return m_ended; }

  /// 0, or 1 when a line was refused.
  [[nodiscard]] int ExitStatus() const { return m_exitStatus; }

 private:
  struct Action;

  void Run(const Command& command, SessionControl* target);

  // One for each command. `target` is null only where the command needs none.
  void Connect(const Command& command, SessionControl* target);
  void Disconnect(const Command& command, SessionControl* target);
  void Status(const Command& command, SessionControl* target);
  void Send(const Command& command, SessionControl* target);
  void Request(const Command& command, SessionControl* target);
  void Pump(const Command& command, SessionControl* target);
  void Wait(const Command& command, SessionControl* target);
  void On(const Command& command, SessionControl* target);
  void New(const Command& command, SessionControl* target);
  void Use(const Command& command, SessionControl* target);
  void Destroy(const Command& command, SessionControl* target);
  void Quit(const Command& command, SessionControl* target);

  void OnEvent(SessionControl& control, EventKind event, const std::string& text);
  void Fail(std::string_view text);
  SessionControl* MakeControl();
  [[nodiscard]] SessionControl* FindControl(std::int32_t number) const;
  void FreeDestroyed();
  void Deliver(std::int32_t milliseconds, const std::function<bool()>& done);

  ControlDriver& m_driver;
  const Print m_print;
  std::vector<std::unique_ptr<SessionControl>> m_controls;
  SessionControl* m_inUse = nullptr;
  std::int32_t m_lastNumber = 0;
  bool m_ended = false;
  int m_exitStatus = 0;
};

}  // namespace tlk::host
