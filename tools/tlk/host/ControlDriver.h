#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace tlk::host {

/// What a control tells the console, as narrow ANSI text. Called on the console's one thread, from
/// inside a call of the control or from inside a delivery; may call the control, and may deliver.
class DrivenEvents {
 public:
  virtual void OnStatus(std::int32_t status) = 0;
  virtual void OnMessage(std::string_view type, std::string_view data) = 0;

 protected:
  ~DrivenEvents() = default;
};

/// The result code of a call and what the call wrote; a value that it left alone is absent.
struct ConnectResult {
  std::int32_t hr = 0;
  std::optional<std::int32_t> value;
};

struct StatusResult {
  std::int32_t hr = 0;
  std::int32_t value = 0;
};

struct RequestResult {
  std::int32_t hr = 0;
  std::optional<std::string> type;
  std::optional<std::string> data;
};

/// One control: its five members, with narrow ANSI text. It may be destroyed while its calls and
/// events are on the stack; none of its events is heard any more then.
class DrivenControl {
 public:
  virtual ~DrivenControl() = default;

  virtual ConnectResult Connect(const std::string& server, std::int32_t port) = 0;
  virtual std::int32_t Disconnect() = 0;
  virtual StatusResult ConnectionStatus() = 0;
  virtual std::int32_t Send(const std::string& type, const std::string& data) = 0;
  virtual RequestResult Request(const std::string& type, const std::string& data,
                                std::int32_t timeoutMs) = 0;
};

/// What the console drives: controls of one build of the system, and the loop that delivers to
/// them. Used by one thread.
class ControlDriver {
 public:
  virtual ~ControlDriver() = default;

  /// Makes a control, which ends before the driver does; null when the system refuses. `events`
  /// outlives it.
  [[nodiscard]] virtual std::unique_ptr<DrivenControl> NewControl(DrivenEvents& events) = 0;

  /// Waits up to that long for a notification or a timer and delivers one round of them.
  virtual void DeliverOnce(std::uint32_t milliseconds) = 0;

  /// Returns true at once when standard input can be read, or is at its end. Else waits, without a
  /// limit, for that or for something to deliver; delivers one round, and tells whether standard
  /// input can be read now.
  virtual bool DeliverOnceOrInput() = 0;

  /// Appends what standard input holds to `bytes`; false at its end. Waits when it holds nothing.
  virtual bool ReadInput(std::string& bytes) = 0;

  /// Milliseconds since some fixed moment; never steps back.
  [[nodiscard]] virtual std::uint64_t TickCount() = 0;
};

/// What is settled before the system is first used.
struct DriverOptions {
  bool showLogLines = true;    ///< Whether each line of the trace log is echoed.
  bool leaveOutTexts = false;  ///< Whether the trace log goes without the texts of messages.
  std::string module;          ///< Windows: file with the control; empty for the registered one.
  bool showWindow = false;     ///< Windows: whether a control's container is on the screen.
};

/// Adds the options that are this build's alone.
void AddDriverOptions(CLI::App& command, DriverOptions& options);

/// The driver of the system that this program is built for.
[[nodiscard]] std::unique_ptr<ControlDriver> NewSystemDriver(const DriverOptions& options);

}  // namespace tlk::host
