#include "tools/tlk/serve/Connection.h"

#include <asio/buffer.hpp>
#include <asio/error.hpp>
#include <asio/write.hpp>
#include <utility>

#include "tools/tlk/Printable.h"

namespace tlk::serve {

Connection::Connection(asio::ip::tcp::socket socket, int id, const ConnectionLimits& limits,
                       ConnectionEvents& events, std::size_t& held)
    : m_socket(std::move(socket)),
      m_id(id),
      m_limits(limits),
      m_events(events),
      m_frames(limits.message),
      m_readBuffer(),
      m_holding(held, sizeof *this) {}

void Connection::Start() {
  asio::error_code ignored;
  m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
  Read();
}

void Connection::Read() {
  m_socket.async_read_some(
      asio::buffer(m_readBuffer),
      [self = shared_from_this()](const asio::error_code& error, std::size_t count) {
        if (error) {
          self->OnReadFailed(error);
        } else {
          self->OnBytes(std::string_view(self->m_readBuffer.data(), count));
        }
      });
}

void Connection::OnBytes(std::string_view bytes) {
  m_frames.Append(bytes);
  while (m_socket.is_open()) {
    const auto frame = m_frames.Next();
    if (!frame) break;
    m_events.OnFrame(*this, *frame);
  }
  if (!m_frames.Error().empty()) Refuse(m_frames.Error());
  CountMemory();
  if (m_socket.is_open()) Read();
}

void Connection::OnReadFailed(const asio::error_code& error) {
  if (error != asio::error::eof) {
    End("lost: " + Printable(error.message()));
  } else if (!m_frames.Rest().empty()) {
    End("lost: the stream ends within a message");
  } else if (m_queue.empty()) {
    End("closed");
  } else {
    m_clientDone = true;
  }
}

void Connection::Send(Outgoing message) {
  if (!m_socket.is_open()) return;
  m_queued += message.Size();
  m_queue.push_back(std::move(message));
  CountMemory();
  if (m_queued > m_limits.queue) {
    Refuse("does not read: " + std::to_string(m_queued) + " bytes wait");
  } else if (m_queue.size() == 1) {
    Write();
  }
}

void Connection::Write() {
  asio::async_write(m_socket, m_queue.front().Buffers(),
                    [self = shared_from_this()](const asio::error_code& error, std::size_t count) {
                      if (error) {
                        self->End("lost: " + Printable(error.message()));
                      } else {
                        self->OnWritten(count);
                      }
                    });
}

void Connection::OnWritten(std::size_t count) {
  m_queued -= count;
  m_queue.pop_front();
  CountMemory();
  if (!m_queue.empty()) {
    Write();
  } else if (m_clientDone) {
    End("closed");
  }
}

void Connection::CountMemory() {
  m_holding.Set(sizeof *this + m_frames.Capacity() + m_queue.size() * sizeof(Outgoing));
  m_events.OnGrowth();
}

void Connection::Refuse(std::string_view reason) { End("refused: " + std::string(reason)); }

void Connection::End(const std::string& how) {
  if (!m_socket.is_open()) return;
  asio::error_code ignored;
  m_socket.cancel(ignored);  // A send that is pending would keep it open on some systems.
  m_socket.close(ignored);
  m_events.OnEnd(*this, how);
}

}  // namespace tlk::serve
