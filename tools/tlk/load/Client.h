#pragma once

#include <array>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/load/HeadReader.h"
#include "tools/tlk/load/LoadOptions.h"
#include "tools/tlk/load/LoadText.h"
#include "tools/tlk/load/Schedule.h"
#include "tools/tlk/load/Tally.h"

namespace tlk::load {

/// What the clients of a run share, on its one thread.
struct Traffic {
  const LoadOptions& options;
  LoadText text;
  std::optional<Schedule> schedule;  ///< None: each message goes out when the last has come back.
  Tally tally;
  Clock::time_point start;  ///< When the first message is due.
  bool sending = false;     ///< Messages may go out.
};

/// What a client tells its run.
class ClientEvents {
 public:
  /// An attempt to connect is over, whichever way.
  virtual void OnDecided() = 0;

  /// A connection has been lost.
  virtual void OnLost() = 0;

 protected:
  ~ClientEvents() = default;
};

/// One client, on the wire what a control is to a server. It keeps nothing of a message but its
/// head, and of messages to come only the number of the next, so it costs what its socket costs.
///
/// Its operations know it by its address; whoever owns it lets none of them end after it is gone.
class Client {
 public:
  Client(asio::io_context& io, std::uint32_t number, Traffic& traffic, ClientEvents& events);
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  /// Begins to connect; `OnDecided` follows.
  void Connect(const asio::ip::tcp::endpoint& server);

  /// Ends an attempt to connect that takes too long.
  void GiveUp();

  /// Lets it send so many messages more, each as soon as the last is out of the way.
  void Release(std::uint64_t messages);

  /// Sends a keep-alive if it has been idle for long.
  void KeepAlive(Clock::time_point now);

 private:
  enum class State : std::uint8_t { kFresh, kConnecting, kConnected, kEnded };

  void OnConnected(const asio::error_code& error);
  void Fail(int error);
  void Lose(int error);
  void End(int error);
  void Read();
  void OnRead(const asio::error_code& error, std::size_t count);
  void OnMessage(std::string_view head);
  void TakeReply();
  void TakeMark(std::string_view head);
  [[nodiscard]] bool MaySend() const;
  void SendNext();
  void Write(std::string_view tail, std::uint64_t& counter);

  asio::ip::tcp::socket m_socket;
  Traffic& m_traffic;
  ClientEvents& m_events;
  const std::uint32_t m_number;
  std::int32_t m_id = -1;
  State m_state = State::kFresh;
  bool m_writing = false;
  std::uint64_t m_released = 0;  ///< Messages of its own that may have gone out.
  std::uint64_t m_next = 0;      ///< Messages begun, so the number of the next of its own.
  std::uint64_t m_waiting = 0;   ///< Those of them that have not come back.
  Clock::time_point m_due;       ///< When the last was due.
  Clock::time_point m_active;    ///< When it last sent or heard something.
  HeadReader m_reader;
  std::string m_head;  ///< Of what is being written.
  std::vector<char> m_readBuffer;
};

}  // namespace tlk::load
