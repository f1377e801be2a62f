#pragma once

#include <cstdint>

namespace tlk {

class PosixSockets;

/// A window as the sockets of its thread see it.
class NotificationReceiver {
 public:
  /// The sockets whose notifications this window can take: those of its own loop.
  [[nodiscard]] virtual const PosixSockets& LoopSockets() const = 0;

  virtual void Notify(std::uint32_t message, std::uintptr_t wParam, std::uintptr_t lParam) = 0;

 protected:
  ~NotificationReceiver() = default;
};

}  // namespace tlk
