#include "tools/tlk/serve/Server.h"

#include <asio/post.hpp>
#include <csignal>
#include <utility>

#include "platform/Platform.h"
#include "platform/Surroundings.h"
#include "tools/tlk/Printable.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/net/Listening.h"
#include "tools/tlk/wire/MessageView.h"
#include "transport/MessageTypes.h"

namespace tlk::serve {
namespace {

/// How long to wait for a free descriptor before the next try to accept.
constexpr std::chrono::milliseconds kAcceptPause(100);

}  // namespace

Server::Server(const ServerOptions& options, LineWriter writeLine)
    : m_options(options),
      m_writeLine(std::move(writeLine)),
      m_acceptor(m_io),
      m_signals(m_io),
      m_end(m_io),
      m_acceptPause(m_io) {}

Server::~Server() = default;

asio::error_code Server::Listen() {
  const auto error = net::Listen(m_acceptor, m_options.where);
  if (!error) m_writeLine(net::ListeningLine(m_acceptor));
  return error;
}

void Server::Run() {
  m_signals.add(SIGINT);
  m_signals.add(SIGTERM);
  m_signals.async_wait([this](const asio::error_code& error, int) {
    if (!error) Close();
  });
  StopAtItsTime();
  Accept();
  m_io.run();
  m_writeLine("stopped");
}

void Server::Stop() {
  asio::post(m_io, [this] { Close(); });
}

void Server::StopAtItsTime() {
  if (!m_options.runFor) return;
  m_end.expires_after(*m_options.runFor);
  m_end.async_wait([this](const asio::error_code& error) {
    if (!error) Close();
  });
}

void Server::Accept() {
  m_acceptor.async_accept([this](const asio::error_code& error, Socket socket) {
    OnAccepted(error, std::move(socket));
  });
}

void Server::OnAccepted(const asio::error_code& error, Socket socket) {
  if (!m_acceptor.is_open()) return;
  if (error) {
    m_writeLine("accept failed: " + Printable(error.message()));
    AcceptLater();
    return;
  }
  ConnectionEvents& events = *this;
  const auto client =
      std::make_shared<Connection>(std::move(socket), ++m_lastId, m_options.limits, events, m_held);
  m_clients.emplace(client->Id(), client);
  WriteClientLine(*client, "connected");
  client->Start();
  OnGrowth();
  Accept();
}

/// Accepting fails when there is no free descriptor, and would fail again at once: hence the pause.
void Server::AcceptLater() {
  m_acceptPause.expires_after(kAcceptPause);
  m_acceptPause.async_wait([this](const asio::error_code& error) {
    if (!error && m_acceptor.is_open()) Accept();
  });
}

void Server::OnFrame(Connection& from, const std::string& frame) {
  std::string fault;
  auto message = m_messages.Read(frame, fault);
  if (message) {
    WriteClientLine(
        from, "message type=" + Quote(message->type) + " bytes=" + std::to_string(frame.size()));
  }
  if (m_options.show) Show(from, '>', frame);
  if (!message) return from.Refuse(fault);
  Answer(from, std::move(*message));
}

void Server::Answer(Connection& from, ReceivedMessage message) {
  if (message.type == kKeepAlive) return Reply(from, m_messages.Compose(kKeepAliveResponse, ""));
  if (const auto* replies = m_options.answers.Find(message.type)) {
    for (const auto& reply : *replies) {
      Reply(from, m_messages.Compose(reply.type, reply.data));
    }
  } else if (m_options.relay) {
    Relay(from, std::move(message.wording));
  } else {
    Reply(from, std::move(message.wording));
  }
}

/// Sending can refuse a client, which takes it out of `m_clients`; so this walks a copy.
void Server::Relay(const Connection& from, Wording wording) {
  const auto shared = std::make_shared<SharedWording>(std::move(wording), m_held);
  const auto clients = m_clients;
  for (const auto& [id, client] : clients) {
    if (id != from.Id()) Send(*client, Outgoing(shared, from.Id(), id));
  }
}

void Server::Reply(Connection& to, Wording wording) {
  const auto shared = std::make_shared<SharedWording>(std::move(wording), m_held);
  Send(to, Outgoing(shared, kServerId, to.Id()));
}

/// A message of nearly the greatest length can exceed it once its ids have been replaced.
void Server::Send(Connection& to, Outgoing message) {
  if (message.Size() > kMaxMessageLength) {
    WriteClientLine(to, "not sent: " + std::to_string(message.Size()) + " bytes are too many");
    return;
  }
  if (m_options.show) Show(to, '<', message.Text());
  to.Send(std::move(message));
}

void Server::Show(const Connection& client, char way, const std::string& frame) {
  const auto peer = "client " + std::to_string(client.Id()) + ' ' + way;
  auto lines = wire::ShowMessage(frame, wire::ReadMessageText(frame, m_messages.Gate()),
                                 SystemPlatform().surroundings.Now(), peer, {});
  lines.pop_back();
  m_writeLine(lines);
}

/// Clients are refused one at a time, and never in the midst of something: what one has held is
/// free when its operations have ended, and by then the rest may be little enough.
void Server::OnGrowth() {
  if (m_held <= m_options.maxMemory || m_isRelieving || m_clients.empty()) return;
  m_isRelieving = true;
  asio::post(m_io, [this] {
    m_isRelieving = false;
    if (m_held > m_options.maxMemory) RefuseGreediest();
    OnGrowth();
  });
}

/// Whoever leaves most unread goes when unread messages are what is held, else whoever has sent the
/// most of a message without its end. When clients hold nothing but themselves the newest goes.
void Server::RefuseGreediest() {
  if (m_clients.empty()) return;
  auto slowest = m_clients.rbegin()->second;
  auto longest = slowest;
  std::size_t unread = 0;
  std::size_t unfinished = 0;
  for (const auto& [id, client] : m_clients) {
    unread += client->Unread();
    unfinished += client->Unfinished();
    if (client->Unread() > slowest->Unread()) slowest = client;
    if (client->Unfinished() > longest->Unfinished()) longest = client;
  }
  const auto all = "; all clients together take " + std::to_string(m_held) + " bytes";
  if (unread >= unfinished) {
    slowest->Refuse("does not read: " + std::to_string(slowest->Unread()) + " bytes wait" + all);
  } else {
    longest->Refuse("does not finish: " + std::to_string(longest->Unfinished()) +
                    " bytes of a message have come" + all);
  }
}

void Server::OnEnd(Connection& connection, const std::string& how) {
  WriteClientLine(connection, how);
  m_clients.erase(connection.Id());
  ++m_gone;
  if (m_gone == m_options.clients) Close();
}

/// Cancels every pending operation. `m_io.run()` returns when the last of them is done.
void Server::Close() {
  asio::error_code ignored;
  m_acceptor.close(ignored);
  m_signals.cancel(ignored);
  m_end.cancel();
  m_acceptPause.cancel();
  const auto clients = std::exchange(m_clients, {});
  for (const auto& [id, client] : clients) {
    client->End("closed");
  }
}

void Server::WriteClientLine(const Connection& client, std::string_view text) {
  m_writeLine("client " + std::to_string(client.Id()) + " " + std::string(text));
}

}  // namespace tlk::serve
