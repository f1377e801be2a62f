#pragma once

#include <array>
#include <asio/ip/tcp.hpp>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "tools/tlk/serve/Holding.h"
#include "tools/tlk/serve/Outgoing.h"
#include "tools/tlk/wire/FrameExtractor.h"

namespace tlk::serve {

class Connection;

/// What a connection tells its server, on the server's one thread.
class ConnectionEvents {
 public:
  /// A whole message has come. The connection may be sent to and refused from here.
  virtual void OnFrame(Connection& from, const std::string& frame) = 0;

  /// The connection is closed; nothing more comes of it. `how` is "closed" when the client ended
  /// it, "lost: ..." when the network did, "refused: ..." when the server did.
  virtual void OnEnd(Connection& connection, const std::string& how) = 0;

  /// More memory is held now for a client.
  virtual void OnGrowth() = 0;

 protected:
  ~ConnectionEvents() = default;
};

/// How much one client may ask of the server.
struct ConnectionLimits {
  std::size_t message = kMaxMessageLength;  ///< Bytes of a message.
  std::size_t queue = 32U << 20U;           ///< Bytes that may wait until the client reads them.
};

/// One client. Its pending operations hold it, so it lives until the last of them is done.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  /// `id` names the client; `events` and `held` outlive the connection. All that it takes, but for
  /// what messages share, is counted into `held`.
  Connection(asio::ip::tcp::socket socket, int id, const ConnectionLimits& limits,
             ConnectionEvents& events, std::size_t& held);

  [[nodiscard]] int Id() const { return m_id; }

  /// Begins to read.
  void Start();

  /// Queues a message and sends it as the client reads. A client that leaves more waiting than the
  /// limit is refused.
  void Send(Outgoing message);

  /// Bytes that wait until the client reads them.
  [[nodiscard]] std::size_t Unread() const { return m_queued; }

  /// Bytes of a message of which the rest has not come.
  [[nodiscard]] std::size_t Unfinished() const { return m_frames.Rest().size(); }

  /// Ends the connection because of something the client did.
  void Refuse(std::string_view reason);

  /// Ends the connection and says how.
  void End(const std::string& how);

 private:
  void Read();
  void OnBytes(std::string_view bytes);
  void OnReadFailed(const asio::error_code& error);
  void Write();
  void OnWritten(std::size_t count);
  void CountMemory();

  static constexpr std::size_t kReadSize = 16U << 10U;

  asio::ip::tcp::socket m_socket;
  const int m_id;
  const ConnectionLimits m_limits;
  ConnectionEvents& m_events;
  FrameExtractor m_frames;
  std::array<char, kReadSize> m_readBuffer;
  std::deque<Outgoing> m_queue;  ///< What is to be sent; the front is being sent.
  std::size_t m_queued = 0;      ///< Bytes in `m_queue`.
  bool m_clientDone = false;     ///< The client has ended its side of the stream.
  Holding m_holding;
};

}  // namespace tlk::serve
