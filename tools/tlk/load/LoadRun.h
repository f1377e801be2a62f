#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <cstdint>
#include <deque>
#include <functional>
#include <string_view>

#include "tools/tlk/load/Client.h"
#include "tools/tlk/load/LoadOptions.h"
#include "tools/tlk/load/Report.h"

namespace tlk::load {

/// Many clients against one server, on one thread: all connect, then send for the time of the run,
/// then what is under way has a few seconds to come back. It ends in time whatever the server does,
/// and earlier when all connections have ended, or by SIGINT or SIGTERM.
class LoadRun : private ClientEvents {
 public:
  using LineWriter = std::function<void(std::string_view)>;

  /// `progress`, when there is one, gets a line each second. The options outlive the run.
  LoadRun(const LoadOptions& options, LineWriter progress);

  /// Finds the server; says why not when it cannot.
  [[nodiscard]] asio::error_code LookUp();

  /// Runs, and tells what came of it.
  [[nodiscard]] Outcome Run();

 private:
  void OnDecided() override;
  void OnLost() override;

  void OnRamp();
  void ConnectSome();
  [[nodiscard]] bool MayConnect() const;
  void Begin();
  void OnClock();
  [[nodiscard]] std::uint64_t DueMessages(Clock::duration passed) const;
  void EndSending();
  void Drain();
  void OnSecond();
  template <typename Then>
  void After(asio::steady_timer& timer, Clock::duration time, Then then);

  const LoadOptions& m_options;
  const LineWriter m_progress;
  Traffic m_traffic;
  asio::io_context m_io;
  asio::ip::tcp::endpoint m_server;
  asio::signal_set m_signals;
  asio::steady_timer m_ramp;
  asio::steady_timer m_connectLimit;
  asio::steady_timer m_clock;
  asio::steady_timer m_end;
  asio::steady_timer m_second;
  std::deque<Client> m_clients;                 ///< Their sockets are closed before `m_io` ends.
  Clock::time_point m_begun;                    ///< When the first connection was tried.
  std::uint32_t m_tried = 0;                    ///< Clients that have begun to connect.
  std::uint64_t m_decided = 0;                  ///< Clients whose attempt is over.
  std::uint64_t m_released = 0;                 ///< Messages of all that may have gone out.
  std::uint64_t m_inTime = 0;                   ///< As in the outcome.
  std::uint64_t m_expected = 0;                 ///< As in the outcome.
  bool m_ended = false;                         ///< No more messages are let go.
  bool m_started = false;                       ///< The messages have begun.
  std::chrono::microseconds m_processorTime{};  ///< Of this process until they began, then of them.
  Clock::duration m_lasted{};                   ///< How long messages went out.
};

}  // namespace tlk::load
