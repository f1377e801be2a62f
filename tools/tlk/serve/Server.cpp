#include "tools/tlk/serve/Server.h"

#include <asio/post.hpp>
#include <csignal>
#include <utility>

#include "tools/tlk/Words.h"
#include "tools/tlk/net/Listening.h"
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
  const auto error = net::Listen(m_acceptor, {asio::ip::address_v4::loopback(), m_options.port});
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
    m_writeLine("accept failed: " + error.message());
    AcceptLater();
    return;
  }
  ConnectionEvents& events = *this;
  const auto client =
      std::make_shared<Connection>(std::move(socket), ++m_lastId, m_options.limits, events);
  m_clients.emplace(client->Id(), client);
  WriteClientLine(*client, "connected");
  client->Start();
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
  const auto type = m_messages.ReadType(frame, fault);
  if (!type) {
    from.Refuse(fault);
    return;
  }
  WriteClientLine(from, "message type=" + Quote(*type) + " bytes=" + std::to_string(frame.size()));
  Answer(from, frame, *type);
}

void Server::Answer(Connection& from, const std::string& frame, std::string_view type) {
  if (type == kKeepAlive) {
    Send(from, m_messages.Build(kKeepAliveResponse, "", kServerId, from.Id()));
  } else if (m_options.relay) {
    Relay(from, frame);
  } else {
    Send(from, m_messages.Readdress(frame, kServerId, from.Id()));
  }
}

/// Sending can refuse a client, which takes it out of `m_clients`; so this walks a copy.
void Server::Relay(const Connection& from, const std::string& frame) {
  const auto clients = m_clients;
  for (const auto& [id, client] : clients) {
    if (id != from.Id()) Send(*client, m_messages.Readdress(frame, from.Id(), id));
  }
}

/// A message of nearly the greatest length can exceed it once its ids have been replaced.
void Server::Send(Connection& to, std::string frame) {
  if (frame.size() > kMaxMessageLength) {
    WriteClientLine(to, "not sent: " + std::to_string(frame.size()) + " bytes are too many");
  } else {
    to.Send(std::move(frame));
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
