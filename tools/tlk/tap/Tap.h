#pragma once

#include <map>
#include <memory>
#include <string>

#include "tools/tlk/net/Service.h"
#include "tools/tlk/tap/Passage.h"

namespace tlk::tap {

/// Stands between hosts and a server: takes the hosts' connections, makes one to the server for
/// each, and has a watch see all that passes. Belongs to one thread.
class Tap : private net::ServiceEvents {
 public:
  Tap(const net::ServiceBounds& bounds, net::Target target);

  /// Begins to listen; says why not when it cannot.
  [[nodiscard]] asio::error_code Listen() { return m_service.Listen(); }

  /// The line that says where it listens.
  [[nodiscard]] std::string ListeningLine() const { return m_service.ListeningLine(); }

  /// Passes on until one of its ends is reached. What passes is for `watch`.
  void Run(Watch& watch);

 private:
  void OnClient(int id, asio::ip::tcp::socket socket) override;
  void OnAcceptFailed(const std::string& why) override;
  void OnClose() override;
  void OnGone(int id);

  const net::Target m_target;
  Watch* m_watch = nullptr;  ///< While it runs.
  net::Service m_service;
  std::map<int, std::shared_ptr<Passage>> m_passages;
};

}  // namespace tlk::tap
