#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "tools/tlk/net/Service.h"
#include "tools/tlk/serve/Answers.h"
#include "tools/tlk/serve/Connection.h"
#include "tools/tlk/serve/Messages.h"

namespace tlk::serve {

/// Where a server's lines go.
using LineWriter = std::function<void(std::string_view)>;

struct ServerOptions {
  net::ServiceBounds bounds;
  bool relay = false;                   ///< Messages go to everybody else, not back.
  bool show = false;                    ///< Every message is shown, both ways.
  Answers answers;                      ///< What is answered by type instead.
  ConnectionLimits limits;              ///< For each client.
  std::size_t maxMemory = 256U << 20U;  ///< Bytes held for all clients together.
};

/// The development server: answers keep-alives, and sends every other message back.
///
/// It writes a line when it listens, for each connection, message and end of a connection, and when
/// it stops. One client's faults never touch another's connection; but when all together leave it
/// too much to hold, those that leave it most are refused. Belongs to one thread.
class Server : private net::ServiceEvents, private ConnectionEvents {
 public:
  Server(const ServerOptions& options, LineWriter writeLine);

  /// Begins to listen; says why not when it cannot.
  [[nodiscard]] asio::error_code Listen();

  /// Serves until one of its ends is reached.
  void Run();

 private:
  void OnClient(int id, asio::ip::tcp::socket socket) override;
  void OnAcceptFailed(const std::string& why) override;
  void OnClose() override;
  void OnFrame(Connection& from, const std::string& frame) override;
  void OnEnd(Connection& connection, const std::string& how) override;
  void OnGrowth() override;
  void RefuseGreediest();
  void Answer(Connection& from, ReceivedMessage message);
  void Relay(const Connection& from, Wording wording);
  void Reply(Connection& to, Wording wording);
  void Send(Connection& to, Outgoing message);
  void Show(const Connection& client, char way, const std::string& frame);
  void WriteClientLine(const Connection& client, std::string_view text);

  const ServerOptions m_options;
  const LineWriter m_writeLine;
  Messages m_messages;
  std::size_t m_held = 0;  ///< Bytes, for all clients; before all that is counted into it.
  bool m_isRelieving = false;
  net::Service m_service;
  std::map<int, std::shared_ptr<Connection>> m_clients;
};

}  // namespace tlk::serve
