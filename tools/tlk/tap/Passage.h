#pragma once

#include <array>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "tools/tlk/net/Target.h"
#include "tools/tlk/tap/Watch.h"

namespace tlk::tap {

/// One client's connection through the tap: to the server and back. What comes of one side goes to
/// the other at once and as it is, the end of a stream and a reset too; while that does not take
/// it, no more is read. Its pending operations hold it, so it lives until the last of them is done.
class Passage : public std::enable_shared_from_this<Passage> {
 public:
  using OnGone = std::function<void(int id)>;

  /// `watch` outlives the passage. `onGone` is told when the connection is over.
  Passage(asio::io_context& io, asio::ip::tcp::socket client, int id, Watch& watch, OnGone onGone);

  /// Connects to the server, and begins to pass on.
  void Start(const net::Target& target);

  /// Ends the connection on both sides.
  void Stop();

 private:
  using Socket = asio::ip::tcp::socket;

  /// One of the two ways through.
  struct Lane {
    Lane(asio::io_context& io, Way lane, Socket& source, Socket& destination)
        : way(lane), from(source), to(destination), pause(io) {}

    const Way way;
    Socket& from;
    Socket& to;
    asio::steady_timer pause;
    bool hasEnded = false;
    std::array<char, 64U << 10U> bytes;
  };

  void Connect(const asio::ip::tcp::resolver::results_type& where);
  void OnConnected();
  void FailToReach(const asio::error_code& error);
  void Read(Lane& lane);
  void ReadLater(Lane& lane);
  void Pass(Lane& lane, std::size_t count);
  void OnReadFailed(Lane& lane, const asio::error_code& error);
  void Lose(Way side, const asio::error_code& error);
  void End(Ending ending, std::string how);

  const int m_id;
  Watch& m_watch;
  const OnGone m_onGone;
  asio::ip::tcp::resolver m_resolver;
  std::string m_target;
  Socket m_client;
  Socket m_server;
  Lane m_toServer;
  Lane m_toClient;
  bool m_isOver = false;
};

}  // namespace tlk::tap
