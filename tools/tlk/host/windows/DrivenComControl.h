#pragma once

#include "tools/tlk/host/ControlDriver.h"
#include "tools/tlk/host/windows/Container.h"
#include "tools/tlk/host/windows/EventSubscription.h"
#include "tools/tlk/host/windows/Members.h"

namespace tlk::host {

/// A control in a container of its own.
class DrivenComControl final : public DrivenControl {
 public:
  /// Throws ComFailure.
  DrivenComControl(const std::wstring& className, bool visible, DrivenEvents& events);

  ConnectResult Connect(const std::string& server, std::int32_t port) override;
  std::int32_t Disconnect() override;
  StatusResult ConnectionStatus() override;
  std::int32_t Send(const std::string& type, const std::string& data) override;
  RequestResult Request(const std::string& type, const std::string& data,
                        std::int32_t timeoutMs) override;

 private:
  Container m_container;
  Members m_members;
  EventSubscription m_subscription;
};

}  // namespace tlk::host
