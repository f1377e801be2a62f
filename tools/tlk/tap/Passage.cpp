#include "tools/tlk/tap/Passage.h"

#include <asio/buffer.hpp>
#include <asio/connect.hpp>
#include <asio/error.hpp>
#include <asio/write.hpp>
#include <chrono>
#include <utility>

namespace tlk::tap {
namespace {

/// How long to let the watch catch up before looking again.
constexpr std::chrono::milliseconds kPause(5);

using asio::ip::tcp;

/// Makes the other side see a reset, and not an end, when the socket is closed.
void CloseByReset(tcp::socket& socket) {
  asio::error_code ignored;
  socket.set_option(asio::socket_base::linger(true, 0), ignored);
  socket.close(ignored);
}

bool IsReset(const asio::error_code& error) {
  return error == asio::error::connection_reset || error == asio::error::connection_aborted ||
         error == asio::error::broken_pipe;
}

}  // namespace

Passage::Passage(asio::io_context& io, tcp::socket client, int id, Watch& watch, OnGone onGone)
    : m_id(id),
      m_watch(watch),
      m_onGone(std::move(onGone)),
      m_resolver(io),
      m_client(std::move(client)),
      m_server(io),
      m_toServer(io, Way::kFromClient, m_client, m_server),
      m_toClient(io, Way::kFromServer, m_server, m_client) {}

void Passage::Start(const net::Target& target) {
  const auto port = std::to_string(target.port);
  m_target = target.host + ':' + port;
  m_watch.Connected(m_id);
  m_resolver.async_resolve(
      target.host, port, tcp::resolver::numeric_service,
      [self = shared_from_this()](const asio::error_code& error, const auto& where) {
        if (self->m_isOver) return;
        if (error) {
          self->FailToReach(error);
        } else {
          self->Connect(where);
        }
      });
}

void Passage::Connect(const tcp::resolver::results_type& where) {
  asio::async_connect(m_server, where,
                      [self = shared_from_this()](const asio::error_code& error, const auto&) {
                        if (self->m_isOver) return;
                        if (error) {
                          self->FailToReach(error);
                        } else {
                          self->OnConnected();
                        }
                      });
}

void Passage::OnConnected() {
  asio::error_code ignored;
  m_client.set_option(tcp::no_delay(true), ignored);
  m_server.set_option(tcp::no_delay(true), ignored);
  Read(m_toServer);
  Read(m_toClient);
}

void Passage::FailToReach(const asio::error_code& error) {
  CloseByReset(m_client);
  End(Ending::kServerReset, "cannot reach " + m_target + ": " + error.message());
}

void Passage::Read(Lane& lane) {
  if (m_isOver) return;
  if (m_watch.IsBehind()) return ReadLater(lane);
  lane.from.async_read_some(
      asio::buffer(lane.bytes),
      [self = shared_from_this(), &lane](const asio::error_code& error, std::size_t count) {
        if (self->m_isOver) return;
        if (error) {
          self->OnReadFailed(lane, error);
        } else {
          self->Pass(lane, count);
        }
      });
}

void Passage::ReadLater(Lane& lane) {
  lane.pause.expires_after(kPause);
  lane.pause.async_wait(
      [self = shared_from_this(), &lane](const asio::error_code&) { self->Read(lane); });
}

/// First the bytes are on their way, then somebody may look at them.
void Passage::Pass(Lane& lane, std::size_t count) {
  const auto bytes = asio::buffer(lane.bytes, count);
  asio::async_write(
      lane.to, bytes,
      [self = shared_from_this(), &lane](const asio::error_code& error, std::size_t) {
        if (self->m_isOver) return;
        if (error) {
          self->Lose(lane.way == Way::kFromClient ? Way::kFromServer : Way::kFromClient, error);
        } else {
          self->Read(lane);
        }
      });
  m_watch.Bytes(m_id, lane.way, std::string(lane.bytes.data(), count));
}

void Passage::OnReadFailed(Lane& lane, const asio::error_code& error) {
  if (error != asio::error::eof) return Lose(lane.way, error);
  asio::error_code ignored;
  lane.to.shutdown(tcp::socket::shutdown_send, ignored);
  lane.hasEnded = true;
  m_watch.Ended(m_id, lane.way);
  if (m_toServer.hasEnded && m_toClient.hasEnded) End(Ending::kClosed, "closed");
}

/// The connection of one side is lost, which the other is to see as a reset.
void Passage::Lose(Way side, const asio::error_code& error) {
  const bool isClient = side == Way::kFromClient;
  CloseByReset(isClient ? m_server : m_client);
  const std::string who = isClient ? "the client" : "the server";
  End(isClient ? Ending::kClientReset : Ending::kServerReset,
      IsReset(error) ? "reset by " + who : "lost by " + who + ": " + error.message());
}

void Passage::Stop() { End(Ending::kTapStopped, "ended with the tap"); }

void Passage::End(Ending ending, std::string how) {
  if (m_isOver) return;
  m_isOver = true;
  asio::error_code ignored;
  m_client.close(ignored);
  m_server.close(ignored);
  m_resolver.cancel();
  m_toServer.pause.cancel();
  m_toClient.pause.cancel();
  m_watch.Gone(m_id, ending, std::move(how));
  m_onGone(m_id);
}

}  // namespace tlk::tap
