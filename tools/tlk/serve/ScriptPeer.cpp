#include "tools/tlk/serve/ScriptPeer.h"

#include <algorithm>
#include <array>
#include <asio/buffer.hpp>
#include <asio/error.hpp>
#include <asio/write.hpp>
#include <csignal>
#include <utility>

#include "tools/tlk/Printable.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/wire/FrameExtractor.h"

namespace tlk::serve {
namespace {

constexpr std::size_t kReadSize = 64U << 10U;
constexpr std::size_t kShownBefore = 60;
constexpr std::size_t kShownLength = 200;

}  // namespace

ScriptWait::ScriptWait(asio::io_context& io, std::chrono::milliseconds limit)
    : m_io(io), m_limit(limit), m_signals(io, SIGINT, SIGTERM) {
  m_signals.async_wait(
      [this](const asio::error_code& error, int) { m_interrupted = m_interrupted || !error; });
}

void ScriptWait::Pause(std::chrono::milliseconds duration) {
  asio::steady_timer timer(m_io, duration);
  bool done = false;
  timer.async_wait([&done](const asio::error_code&) { done = true; });
  while (!done && !m_interrupted) {
    m_io.run_one();
  }
  timer.cancel();
  RunToEnd(done);
}

bool ScriptWait::RunUntil(const bool& done) {
  const auto deadline = std::chrono::steady_clock::now() + m_limit;
  while (!done && !m_interrupted && m_io.run_one_until(deadline) != 0) {
  }
  return done;
}

void ScriptWait::RunToEnd(const bool& done) {
  while (!done) {
    m_io.run_one();
  }
}

void ScriptWait::FailLate() const {
  throw ScriptFailure(m_interrupted ? "interrupted"
                                    : "nothing within " + std::to_string(m_limit.count()) + " ms");
}

ScriptPeer::ScriptPeer(ScriptWait& wait, asio::ip::tcp::socket socket)
    : m_wait(wait), m_socket(std::move(socket)) {
  asio::error_code ignored;
  m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
}

void ScriptPeer::SetPieces(std::size_t size, std::chrono::milliseconds pause) {
  m_pieceSize = size;
  m_piecePause = pause;
}

void ScriptPeer::Send(std::string_view bytes) {
  const auto size = m_pieceSize == 0 ? bytes.size() : m_pieceSize;
  while (!bytes.empty()) {
    SendWhole(bytes.substr(0, size));
    bytes.remove_prefix(std::min(size, bytes.size()));
    m_wait.Pause(m_piecePause);
  }
}

void ScriptPeer::SendWhole(std::string_view bytes) {
  const auto sent = m_wait.Await(m_socket, [&](auto handler) {
    asio::async_write(m_socket, asio::buffer(bytes.data(), bytes.size()), handler);
  });
  if (sent.error) throw ScriptFailure("cannot send: " + Printable(sent.error.message()));
}

/// What has come; none when the stream has ended.
std::optional<std::string> ScriptPeer::ReceiveSome() {
  std::array<char, kReadSize> buffer;
  const auto read = m_wait.Await(
      m_socket, [&](auto handler) { m_socket.async_read_some(asio::buffer(buffer), handler); });
  if (read.error == asio::error::eof || read.error == asio::error::connection_reset) {
    return std::nullopt;
  }
  if (read.error) throw ScriptFailure("cannot receive: " + Printable(read.error.message()));
  return std::string(buffer.data(), read.count);
}

void ScriptPeer::Expect(std::string_view bytes) {
  auto same = FirstDifference(m_received, bytes);
  while (same == m_received.size() && same < bytes.size()) {
    const auto more = ReceiveSome();
    if (!more) throw ScriptFailure("the connection ended after " + ShowText(m_received, same));
    m_received += *more;
    same = FirstDifference(m_received, bytes);
  }
  if (same < bytes.size()) throw ScriptFailure("got " + ShowText(m_received, same));
  m_received.erase(0, bytes.size());
}

std::string ScriptPeer::ReceiveFrame() {
  FrameExtractor frames;
  frames.Append(m_received);
  for (;;) {
    if (auto frame = frames.Next()) {
      m_received.erase(0, frame->size());
      return *frame;
    }
    if (!frames.Error().empty()) {
      throw ScriptFailure("got no message but " + ShowText(m_received) + ": " + frames.Error());
    }
    const auto more = ReceiveSome();
    if (!more) throw ScriptFailure("the connection ended after " + ShowText(m_received));
    m_received += *more;
    frames.Append(*more);
  }
}

void ScriptPeer::ExpectClose() {
  if (m_received.empty()) m_received = ReceiveSome().value_or("");
  if (!m_received.empty()) throw ScriptFailure("got " + ShowText(m_received));
}

void ScriptPeer::Close() {
  asio::error_code ignored;
  m_socket.close(ignored);
}

void ScriptPeer::Reset() {
  asio::error_code error;
  m_socket.set_option(asio::socket_base::linger(true, 0), error);
  if (error) throw ScriptFailure("cannot reset: " + Printable(error.message()));
  Close();
}

std::string ShowText(std::string_view text, std::size_t from) {
  const auto begin = from > kShownBefore ? from - kShownBefore : 0;
  const auto shown = text.substr(std::min(begin, text.size()), kShownLength);
  return (begin > 0 ? "..." : "") + Quote(shown) +
         (begin + shown.size() < text.size() ? "..." : "");
}

std::size_t FirstDifference(std::string_view first, std::string_view second) {
  const auto differ = std::mismatch(first.begin(), first.end(), second.begin(), second.end());
  return static_cast<std::size_t>(differ.first - first.begin());
}

}  // namespace tlk::serve
