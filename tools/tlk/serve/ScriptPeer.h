#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tlk::serve {

/// A conversation went otherwise than its script says. The player catches it and reports it.
class ScriptFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Waits for one operation at a time, within a limit, and ends early on SIGINT and SIGTERM.
class ScriptWait {
 public:
  ScriptWait(asio::io_context& io, std::chrono::milliseconds limit);

  /// Starts an operation of `object` by calling `start` with its handler, and waits for its end.
  /// Returns its error and count. Throws `ScriptFailure` when it does not end in time.
  struct Outcome {
    asio::error_code error;
    std::size_t count = 0;
  };
  template <typename Object, typename Start>
  Outcome Await(Object& object, Start start) {
    Outcome outcome;
    bool done = false;
    start([&](const asio::error_code& error, std::size_t count = 0) {
      outcome = {error, count};
      done = true;
    });
    if (!RunUntil(done)) {
      object.cancel();
      RunToEnd(done);
      FailLate();
    }
    return outcome;
  }

  /// Lets time pass.
  void Pause(std::chrono::milliseconds duration);

 private:
  bool RunUntil(const bool& done);
  void RunToEnd(const bool& done);
  [[noreturn]] void FailLate() const;

  asio::io_context& m_io;
  const std::chrono::milliseconds m_limit;
  asio::signal_set m_signals;
  bool m_interrupted = false;
};

/// One client of a scripted server. Its operations throw `ScriptFailure` when they cannot do what
/// they are for.
class ScriptPeer {
 public:
  ScriptPeer(ScriptWait& wait, asio::ip::tcp::socket socket);

  /// Sends later bytes in pieces of that size, 0 for whole, with a pause behind each.
  void SetPieces(std::size_t size, std::chrono::milliseconds pause);
  void Send(std::string_view bytes);

  /// The next bytes must be these.
  void Expect(std::string_view bytes);
  /// The next message, by its length stamp.
  [[nodiscard]] std::string ReceiveFrame();
  /// The stream must end here, closed or reset.
  void ExpectClose();

  void Close();
  /// Closes so that the client's next call fails with a reset.
  void Reset();

 private:
  std::optional<std::string> ReceiveSome();
  void SendWhole(std::string_view bytes);

  ScriptWait& m_wait;
  asio::ip::tcp::socket m_socket;
  std::string m_received;  ///< Bytes that came and that no command has taken yet.
  std::size_t m_pieceSize = 0;
  std::chrono::milliseconds m_piecePause{0};
};

/// A text in quotes for a failure line: the part around `from`, if it is long.
[[nodiscard]] std::string ShowText(std::string_view text, std::size_t from = 0);

/// Where two texts begin to differ.
[[nodiscard]] std::size_t FirstDifference(std::string_view first, std::string_view second);

}  // namespace tlk::serve
