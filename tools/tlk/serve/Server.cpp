#include "tools/tlk/serve/Server.h"

#include <asio/post.hpp>
#include <utility>

#include "platform/Platform.h"
#include "platform/Surroundings.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/wire/MessageView.h"
#include "transport/MessageTypes.h"

namespace tlk::serve {

Server::Server(const ServerOptions& options, LineWriter writeLine)
    : m_options(options), m_writeLine(std::move(writeLine)), m_service(options.bounds, *this) {}

asio::error_code Server::Listen() {
  const auto error = m_service.Listen();
  if (!error) m_writeLine(m_service.ListeningLine());
  return error;
}

void Server::Run() {
  m_service.Run();
  m_writeLine("stopped");
}

void Server::OnClient(int id, asio::ip::tcp::socket socket) {
  ConnectionEvents& events = *this;
  const auto client =
      std::make_shared<Connection>(std::move(socket), id, m_options.limits, events, m_held);
  m_clients.emplace(id, client);
  WriteClientLine(*client, "connected");
  client->Start();
  OnGrowth();
}

void Server::OnAcceptFailed(const std::string& why) { m_writeLine("accept failed: " + why); }

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
  asio::post(m_service.Io(), [this] {
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
  m_service.CountGone();
}

void Server::OnClose() {
  const auto clients = std::exchange(m_clients, {});
  for (const auto& [id, client] : clients) {
    client->End("closed");
  }
}

void Server::WriteClientLine(const Connection& client, std::string_view text) {
  m_writeLine("client " + std::to_string(client.Id()) + " " + std::string(text));
}

}  // namespace tlk::serve
