#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tools/tlk/serve/Answers.h"
#include "tools/tlk/serve/Connection.h"
#include "tools/tlk/serve/Messages.h"

namespace tlk::serve {

/// Where a server's lines go.
using LineWriter = std::function<void(std::string_view)>;

struct ServerOptions {
  asio::ip::tcp::endpoint where;               ///< Port 0 lets the system choose.
  bool relay = false;                          ///< Messages go to everybody else, not back.
  bool show = false;                           ///< Every message is shown, both ways.
  Answers answers;                             ///< What is answered by type instead.
  ConnectionLimits limits;                     ///< For each client.
  std::size_t maxMemory = 256U << 20U;         ///< Bytes held for all clients together.
  std::optional<std::chrono::seconds> runFor;  ///< Ends the server after that time.
  std::optional<std::size_t> clients;          ///< Ends it when so many have come and gone.
};

/// The development server: answers keep-alives, and sends every other message back.
///
/// It writes a line when it listens, for each connection, message and end of a connection, and when
/// it stops. One client's faults never touch another's connection; but when all together leave it
/// too much to hold, those that leave it most are refused. Everything but `Stop` belongs to one
/// thread.
class Server : private ConnectionEvents {
 public:
  Server(const ServerOptions& options, LineWriter writeLine);
  ~Server();

  /// Begins to listen; says why not when it cannot.
  [[nodiscard]] asio::error_code Listen();

  /// Serves until one of its ends is reached, SIGINT and SIGTERM among them.
  void Run();

  /// Makes `Run` return. Any thread may call it.
  void Stop();

 private:
  using Socket = asio::ip::tcp::socket;

  void OnFrame(Connection& from, const std::string& frame) override;
  void OnEnd(Connection& connection, const std::string& how) override;
  void OnGrowth() override;
  void RefuseGreediest();
  void Accept();
  void OnAccepted(const asio::error_code& error, Socket socket);
  void AcceptLater();
  void StopAtItsTime();
  void Answer(Connection& from, ReceivedMessage message);
  void Relay(const Connection& from, Wording wording);
  void Reply(Connection& to, Wording wording);
  void Send(Connection& to, Outgoing message);
  void Close();
  void Show(const Connection& client, char way, const std::string& frame);
  void WriteClientLine(const Connection& client, std::string_view text);

  const ServerOptions m_options;
  const LineWriter m_writeLine;
  Messages m_messages;
  std::size_t m_held = 0;  ///< Bytes, for all clients; before all that is counted into it.
  bool m_isRelieving = false;
  asio::io_context m_io;
  asio::ip::tcp::acceptor m_acceptor;
  asio::signal_set m_signals;
  asio::steady_timer m_end;
  asio::steady_timer m_acceptPause;
  std::map<int, std::shared_ptr<Connection>> m_clients;
  int m_lastId = 0;
  std::size_t m_gone = 0;
};

}  // namespace tlk::serve
