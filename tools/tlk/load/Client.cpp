#include "tools/tlk/load/Client.h"

#include <algorithm>
#include <asio/buffer.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

#include "platform/Sockets.h"
#include "tools/tlk/net/System.h"

namespace tlk::load {
namespace {

constexpr std::chrono::seconds kIdleTime(60);

/// Room for a few messages, or for a piece of a long one.
constexpr std::size_t kLeastRead = 1024;
constexpr std::size_t kMostRead = 16384;

std::uint64_t Microseconds(Clock::duration time) {
  const auto count = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
  return count > 0 ? static_cast<std::uint64_t>(count) : 0;
}

}  // namespace

Client::Client(asio::io_context& io, std::uint32_t number, Traffic& traffic, ClientEvents& events)
    : m_socket(io), m_traffic(traffic), m_events(events), m_number(number) {}

/// An attempt that fails at once is told of like any other, later.
void Client::Connect(const asio::ip::tcp::endpoint& server) {
  if (m_state != State::kFresh) return;
  m_state = State::kConnecting;
  asio::error_code error;
  m_socket.open(server.protocol(), error);
  if (error) {
    asio::post(m_socket.get_executor(), [this, error] { OnConnected(error); });
    return;
  }
  m_socket.async_connect(server, [this](const asio::error_code& end) { OnConnected(end); });
}

void Client::GiveUp() {
  if (m_state == State::kFresh || m_state == State::kConnecting) Fail(socket_error::kTimedOut);
}

void Client::OnConnected(const asio::error_code& error) {
  if (m_state != State::kConnecting) return;
  if (error) {
    Fail(net::ErrorNumber(error));
    return;
  }
  m_state = State::kConnected;
  m_active = Clock::now();
  ++m_traffic.tally.connected;
  asio::error_code ignored;
  m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
  m_readBuffer.resize(std::clamp(2 * m_traffic.options.size, kLeastRead, kMostRead));
  Read();
  m_events.OnDecided();
}

void Client::Fail(int error) {
  ++m_traffic.tally.failed;
  End(error);
  m_events.OnDecided();
}

/// Whichever of reading and writing notices first; the other ends by the closing.
void Client::Lose(int error) {
  if (m_state != State::kConnected) return;
  ++m_traffic.tally.lost;
  End(error);
  m_events.OnLost();
}

void Client::End(int error) {
  m_state = State::kEnded;
  ++m_traffic.tally.errors[error];
  asio::error_code ignored;
  m_socket.close(ignored);
}

void Client::Read() {
  m_socket.async_read_some(
      asio::buffer(m_readBuffer),
      [this](const asio::error_code& error, std::size_t count) { OnRead(error, count); });
}

void Client::OnRead(const asio::error_code& error, std::size_t count) {
  if (m_state != State::kConnected) return;
  if (error) {
    Lose(net::ErrorNumber(error));
    return;
  }
  m_active = Clock::now();
  const bool good = m_reader.Append(std::string_view(m_readBuffer.data(), count),
                                    [this](std::string_view head) { OnMessage(head); });
  if (!good) {
    Lose(socket_error::kFault);
    return;
  }
  SendNext();
  if (m_state == State::kConnected) Read();
}

void Client::OnMessage(std::string_view head) {
  if (m_id == -1) m_id = ReadReceiver(head).value_or(-1);
  if (IsKeepAliveAnswer(head)) {
    ++m_traffic.tally.keepAliveAnswers;
    return;
  }
  ++m_traffic.tally.received;
  if (m_traffic.options.requests) {
    TakeReply();
  } else {
    TakeMark(head);
  }
}

/// Whatever comes next is the reply.
void Client::TakeReply() {
  if (m_waiting == 0) return;
  m_waiting = 0;
  ++m_traffic.tally.answered;
  m_traffic.tally.latencies.Add(Microseconds(m_active - m_due));
}

/// A message of another client comes by a relay, and took its time, too. A time to come was
/// written by somebody else.
void Client::TakeMark(std::string_view head) {
  const auto mark = m_traffic.text.FindMark(head);
  if (!mark) return;
  const auto now = Microseconds(m_active - m_traffic.start);
  if (mark->due > now) return;
  if (mark->client == m_number) {
    if (m_waiting == 0) return;
    --m_waiting;
    ++m_traffic.tally.answered;
  }
  m_traffic.tally.latencies.Add(now - mark->due);
}

bool Client::MaySend() const {
  const bool one = m_traffic.options.requests || !m_traffic.schedule;
  return m_state == State::kConnected && m_traffic.sending && m_next < m_released && !m_writing &&
         !(one && m_waiting > 0);
}

void Client::Release(std::uint64_t messages) {
  m_released += messages;
  SendNext();
}

void Client::SendNext() {
  if (!MaySend()) return;
  m_active = m_due = Clock::now();
  if (m_traffic.schedule) {
    const auto number = m_number + m_next * m_traffic.options.clients;
    m_due = m_traffic.start + m_traffic.schedule->DueOf(number);
  }
  ++m_next;
  ++m_waiting;
  m_traffic.text.WriteHead(m_id, {m_number, Microseconds(m_due - m_traffic.start)}, m_head);
  Write(m_traffic.text.Tail(m_head.size()), m_traffic.tally.sent);
}

void Client::KeepAlive(Clock::time_point now) {
  const bool waits = m_traffic.options.requests && m_waiting > 0;
  if (m_state != State::kConnected || m_writing || waits || now - m_active < kIdleTime) return;
  m_active = now;
  m_head = KeepAliveText(m_id);
  Write({}, m_traffic.tally.keepAlives);
}

/// Counts what it writes in `counter` once the system has it.
void Client::Write(std::string_view tail, std::uint64_t& counter) {
  m_writing = true;
  const std::array<asio::const_buffer, 2> buffers = {asio::buffer(m_head), asio::buffer(tail)};
  asio::async_write(m_socket, buffers,
                    [this, &counter](const asio::error_code& error, std::size_t) {
                      m_writing = false;
                      if (error) {
                        Lose(net::ErrorNumber(error));
                        return;
                      }
                      ++counter;
                      SendNext();
                    });
}

}  // namespace tlk::load
