#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace tlk::net {

/// Where clients are accepted, and until when.
struct ServiceBounds {
  asio::ip::tcp::endpoint where;               ///< Port 0 lets the system choose.
  std::optional<std::chrono::seconds> runFor;  ///< Ends the service after that time.
  std::optional<std::size_t> clients;          ///< Ends it when so many have come and gone.
};

/// What a service tells its owner.
class ServiceEvents {
 public:
  /// A client has come. Ids count from 1.
  virtual void OnClient(int id, asio::ip::tcp::socket socket) = 0;

  /// One could not be accepted. The service goes on.
  virtual void OnAcceptFailed(const std::string& why) = 0;

  /// The service ends; the clients are to go, and with them every operation that pends.
  virtual void OnClose() = 0;

 protected:
  ~ServiceEvents() = default;
};

/// Accepts clients until one of its bounds is reached or the program is told to end, by SIGINT and
/// SIGTERM. Belongs to one thread.
class Service {
 public:
  /// `events` outlive it.
  Service(const ServiceBounds& bounds, ServiceEvents& events);

  /// What the clients' operations run on.
  [[nodiscard]] asio::io_context& Io() { return m_io; }

  /// Begins to listen; says why not when it cannot.
  [[nodiscard]] asio::error_code Listen();

  /// The line that says where it listens.
  [[nodiscard]] std::string ListeningLine() const;

  /// Returns when the service has ended and the last operation is done.
  void Run();

  /// Counts a client that has gone.
  void CountGone();

 private:
  void EndOnSignals();
  void EndInTime();
  void Accept();
  void AcceptLater();
  void Close();

  const ServiceBounds m_bounds;
  ServiceEvents& m_events;
  asio::io_context m_io;
  asio::ip::tcp::acceptor m_acceptor;
  asio::signal_set m_signals;
  asio::steady_timer m_end;
  asio::steady_timer m_acceptPause;
  int m_lastId = 0;
  std::size_t m_gone = 0;
};

}  // namespace tlk::net
