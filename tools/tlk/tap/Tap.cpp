#include "tools/tlk/tap/Tap.h"

#include <csignal>
#include <utility>

#include "tools/tlk/net/Listening.h"

namespace tlk::tap {
namespace {

/// How long to wait for a free descriptor before the next try to accept.
constexpr std::chrono::milliseconds kAcceptPause(100);

}  // namespace

Tap::Tap(TapOptions options)
    : m_options(std::move(options)),
      m_acceptor(m_io),
      m_signals(m_io),
      m_end(m_io),
      m_acceptPause(m_io) {}

asio::error_code Tap::Listen() { return net::Listen(m_acceptor, m_options.listen); }

std::string Tap::ListeningLine() const { return net::ListeningLine(m_acceptor); }

void Tap::Run(Watch& watch) {
  m_signals.add(SIGINT);
  m_signals.add(SIGTERM);
  m_signals.async_wait([this](const asio::error_code& error, int) {
    if (!error) Close();
  });
  StopAtItsTime();
  Accept(watch);
  m_io.run();
}

void Tap::StopAtItsTime() {
  if (!m_options.runFor) return;
  m_end.expires_after(*m_options.runFor);
  m_end.async_wait([this](const asio::error_code& error) {
    if (!error) Close();
  });
}

void Tap::Accept(Watch& watch) {
  m_acceptor.async_accept([this, &watch](const asio::error_code& error, Socket socket) {
    OnAccepted(watch, error, std::move(socket));
  });
}

void Tap::OnAccepted(Watch& watch, const asio::error_code& error, Socket socket) {
  if (!m_acceptor.is_open()) return;
  if (error) {
    watch.Say("accept failed: " + error.message());
    return AcceptLater(watch);
  }
  const int id = ++m_lastId;
  const auto passage = std::make_shared<Passage>(m_io, std::move(socket), id, watch,
                                                 [this](int gone) { OnGone(gone); });
  m_passages.emplace(id, passage);
  passage->Start(m_options.target);
  Accept(watch);
}

/// Accepting fails when there is no free descriptor, and would fail again at once: hence the pause.
void Tap::AcceptLater(Watch& watch) {
  m_acceptPause.expires_after(kAcceptPause);
  m_acceptPause.async_wait([this, &watch](const asio::error_code& error) {
    if (!error && m_acceptor.is_open()) Accept(watch);
  });
}

void Tap::OnGone(int id) {
  m_passages.erase(id);
  ++m_gone;
  if (m_gone == m_options.clients) Close();
}

/// Cancels every pending operation. `m_io.run()` returns when the last of them is done.
void Tap::Close() {
  asio::error_code ignored;
  m_acceptor.close(ignored);
  m_signals.cancel(ignored);
  m_end.cancel();
  m_acceptPause.cancel();
  const auto passages = std::exchange(m_passages, {});
  for (const auto& [id, passage] : passages) {
    passage->Stop();
  }
}

}  // namespace tlk::tap
