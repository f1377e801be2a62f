#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/CommandSession.h"
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
/// use until the next `new` or `use`. A control that is destroyed inside one of its own calls or
/// events ends there and then, as a host's may.
///
/// Handlers of one control and event run one per event, in the order in which they were given.
/// After `quit` no handler runs any more and no wait lasts any longer.
///
/// Used by one thread. The driver outlives the session.
class HostSession : public CommandSession {
 public:
  /// `failsFast`: whether a connect that fails, a wait that runs out and a request without a reply
  /// end it, with status `kStatusFailed` and a word on standard error.
  HostSession(ControlDriver& driver, bool failsFast, Print print);
  ~HostSession() override;

  static constexpr int kStatusFailed = 3;

  /// Delivers until standard input can be read; false when the session has ended meanwhile.
  bool WaitForInput();

 private:
  struct Action;

  void RunLine(std::string_view line) override;

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
  void ShowHelp(const Command& command, SessionControl* target);
  void Quit(const Command& command, SessionControl* target);

  /// A command has not done what it was for.
  void Miss(const Command& command, std::string_view what);

  void OnEvent(SessionControl& control, EventKind event, const std::string& text);
  SessionControl* MakeControl();
  [[nodiscard]] SessionControl* FindControl(std::int32_t number) const;
  void FreeDestroyed();
  void Deliver(std::int32_t milliseconds, const std::function<bool()>& done);

  ControlDriver& m_driver;
  const bool m_failsFast;
  std::vector<std::unique_ptr<SessionControl>> m_controls;
  SessionControl* m_inUse = nullptr;
  std::int32_t m_lastNumber = 0;
};

}  // namespace tlk::host
