#include "tools/tlk/tap/Tap.h"

#include <utility>

namespace tlk::tap {

Tap::Tap(const net::ServiceBounds& bounds, net::Target target)
    : m_target(std::move(target)), m_service(bounds, *this) {}

void Tap::Run(Watch& watch) {
  m_watch = &watch;
  m_service.Run();
}

void Tap::OnClient(int id, asio::ip::tcp::socket socket) {
  const auto passage = std::make_shared<Passage>(m_service.Io(), std::move(socket), id, *m_watch,
                                                 [this](int gone) { OnGone(gone); });
  m_passages.emplace(id, passage);
  passage->Start(m_target);
}

void Tap::OnAcceptFailed(const std::string& why) { m_watch->Say("accept failed: " + why); }

void Tap::OnGone(int id) {
  m_passages.erase(id);
  m_service.CountGone();
}

void Tap::OnClose() {
  const auto passages = std::exchange(m_passages, {});
  for (const auto& [id, passage] : passages) {
    passage->Stop();
  }
}

}  // namespace tlk::tap
