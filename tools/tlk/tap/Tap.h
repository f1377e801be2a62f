#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tools/tlk/tap/Passage.h"

namespace tlk::tap {

struct TapOptions {
  asio::ip::tcp::endpoint listen;              ///< Port 0 lets the system choose.
  Target target;                               ///< The server.
  std::optional<std::chrono::seconds> runFor;  ///< Ends the tap after that time.
  std::optional<std::size_t> clients;          ///< Ends it when so many have come and gone.
};

/// Stands between hosts and a server: takes the hosts' connections, makes one to the server for
/// each, and has a watch see all that passes. Belongs to one thread.
class Tap {
 public:
  explicit Tap(TapOptions options);

  /// Begins to listen; says why not when it cannot.
  [[nodiscard]] asio::error_code Listen();

  /// The line that says where it listens.
  [[nodiscard]] std::string ListeningLine() const;

  /// Passes on until one of its ends is reached, SIGINT and SIGTERM among them. What passes is for
  /// `watch`.
  void Run(Watch& watch);

 private:
  using Socket = asio::ip::tcp::socket;

  void StopAtItsTime();
  void Accept(Watch& watch);
  void OnAccepted(Watch& watch, const asio::error_code& error, Socket socket);
  void AcceptLater(Watch& watch);
  void OnGone(int id);
  void Close();

  const TapOptions m_options;
  asio::io_context m_io;
  asio::ip::tcp::acceptor m_acceptor;
  asio::signal_set m_signals;
  asio::steady_timer m_end;
  asio::steady_timer m_acceptPause;
  std::map<int, std::shared_ptr<Passage>> m_passages;
  int m_lastId = 0;
  std::size_t m_gone = 0;
};

}  // namespace tlk::tap
