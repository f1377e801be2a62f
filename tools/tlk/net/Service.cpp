#include "tools/tlk/net/Service.h"

#include <csignal>
#include <utility>

#include "tools/tlk/Printable.h"
#include "tools/tlk/net/Listening.h"

namespace tlk::net {
namespace {

/// How long to wait for a free descriptor before the next try to accept.
constexpr std::chrono::milliseconds kAcceptPause(100);

}  // namespace

Service::Service(const ServiceBounds& bounds, ServiceEvents& events)
    : m_bounds(bounds),
      m_events(events),
      m_acceptor(m_io),
      m_signals(m_io),
      m_end(m_io),
      m_acceptPause(m_io) {}

asio::error_code Service::Listen() { return net::Listen(m_acceptor, m_bounds.where); }

std::string Service::ListeningLine() const { return net::ListeningLine(m_acceptor); }

void Service::Run() {
  EndOnSignals();
  EndInTime();
  Accept();
  m_io.run();
}

void Service::EndOnSignals() {
  m_signals.add(SIGINT);
  m_signals.add(SIGTERM);
  m_signals.async_wait([this](const asio::error_code& error, int) {
    if (!error) Close();
  });
}

void Service::EndInTime() {
  if (!m_bounds.runFor) return;
  m_end.expires_after(*m_bounds.runFor);
  m_end.async_wait([this](const asio::error_code& error) {
    if (!error) Close();
  });
}

void Service::Accept() {
  m_acceptor.async_accept([this](const asio::error_code& error, asio::ip::tcp::socket socket) {
    if (!m_acceptor.is_open()) return;
    if (error) {
      m_events.OnAcceptFailed(Printable(error.message()));
      AcceptLater();
    } else {
      m_events.OnClient(++m_lastId, std::move(socket));
      Accept();
    }
  });
}

/// Accepting fails when there is no free descriptor, and would fail again at once: hence the pause.
void Service::AcceptLater() {
  m_acceptPause.expires_after(kAcceptPause);
  m_acceptPause.async_wait([this](const asio::error_code& error) {
    if (!error && m_acceptor.is_open()) Accept();
  });
}

void Service::CountGone() {
  ++m_gone;
  if (m_gone == m_bounds.clients) Close();
}

/// Cancels every operation of its own. `m_io.run()` returns when the last of the clients' is done.
void Service::Close() {
  asio::error_code ignored;
  m_acceptor.close(ignored);
  m_signals.cancel(ignored);
  m_end.cancel();
  m_acceptPause.cancel();
  m_events.OnClose();
}

}  // namespace tlk::net
