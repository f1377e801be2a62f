#pragma once

#include "platform/posix/MessageLoop.h"
#include "tools/tlk/host/ControlDriver.h"

namespace tlk::host {

/// Drives the native control in a message loop of its own; reads standard input by its descriptor.
class NativeControlDriver : public ControlDriver {
 public:
  [[nodiscard]] std::unique_ptr<DrivenControl> NewControl(DrivenEvents& events) override;
  void DeliverOnce(std::uint32_t milliseconds) override;
  bool DeliverOnceOrInput() override;
  bool ReadInput(std::string& bytes) override;
  [[nodiscard]] std::uint64_t TickCount() override;

 private:
  MessageLoop m_loop;
};

}  // namespace tlk::host
