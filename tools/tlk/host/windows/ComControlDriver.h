#pragma once

#include <optional>

#include "tools/tlk/host/ControlDriver.h"
#include "tools/tlk/host/windows/ControlSource.h"
#include "tools/tlk/host/windows/InputReader.h"

namespace tlk::host {

/// Drives the real control in the system's OLE container and delivers by the message queue of the
/// thread that made the driver.
class ComControlDriver : public ControlDriver {
 public:
  /// `module` and `showWindow` as in DriverOptions. Throws ComFailure.
  ComControlDriver(std::string module, bool showWindow);

  [[nodiscard]] std::unique_ptr<DrivenControl> NewControl(DrivenEvents& events) override;
  void DeliverOnce(std::uint32_t milliseconds) override;
  bool DeliverOnceOrInput() override;
  bool ReadInput(std::string& bytes) override;
  [[nodiscard]] std::uint64_t TickCount() override;

 private:
  /// OLE for this thread.
  struct Apartment {
    Apartment();
    ~Apartment();
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
  };

  HANDLE ReadyInput();
  InputReader& Input();

  const Apartment m_apartment;
  ControlSource m_source;
  const bool m_showWindow;
  std::optional<InputReader> m_input;
};

}  // namespace tlk::host
