#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/tlk/host/ControlDriver.h"

namespace tlk::host {

/// A control that connects to anything and raises what a test says.
class FakeControl : public DrivenControl {
 public:
  using Registry = std::vector<FakeControl*>;

  FakeControl(Registry& registry, DrivenEvents& events) : m_registry(registry), m_events(events) {
    m_registry.push_back(this);
  }
  ~FakeControl() override {
    EXPECT_EQ(m_depth, 0) << "a control was freed inside its own call or event";
    std::replace(m_registry.begin(), m_registry.end(), this, static_cast<FakeControl*>(nullptr));
  }

  ConnectResult Connect(const std::string& /*server*/, std::int32_t /*port*/) override {
    ChangeStatus(3);
    return {0, 1};
  }
  std::int32_t Disconnect() override {
    ChangeStatus(0);
    return 0;
  }
  StatusResult ConnectionStatus() override { return {0, m_status}; }
  std::int32_t Send(const std::string& /*type*/, const std::string& /*data*/) override { return 0; }
  RequestResult Request(const std::string& /*type*/, const std::string& /*data*/,
                        std::int32_t /*timeoutMs*/) override {
    return {};
  }

  void ChangeStatus(std::int32_t status) {
    ++m_depth;
    m_status = status;
    m_events.OnStatus(status);
    --m_depth;
  }
  void RaiseMessage(const std::string& type) {
    ++m_depth;
    m_events.OnMessage(type, "");
    --m_depth;
  }

 private:
  Registry& m_registry;
  DrivenEvents& m_events;
  std::int32_t m_status = 0;
  int m_depth = 0;
};

/// A driver whose time moves only while somebody waits: a millisecond for each delivery, and as
/// long as it takes when there is none. Standard input can be read when all is delivered.
class FakeControlDriver : public ControlDriver {
 public:
  FakeControl::Registry controls;  ///< In the order in which they were made; null when freed.
  std::deque<std::function<void()>> deliveries;
  bool refusesControls = false;

  std::unique_ptr<DrivenControl> NewControl(DrivenEvents& events) override {
    if (refusesControls) return nullptr;
    return std::make_unique<FakeControl>(controls, events);
  }
  void DeliverOnce(std::uint32_t milliseconds) override {
    m_now += deliveries.empty() ? milliseconds : 1;
    if (deliveries.empty()) return;
    const auto deliver = std::move(deliveries.front());
    deliveries.pop_front();
    deliver();
  }
  bool DeliverOnceOrInput() override {
    const bool canRead = deliveries.empty();
    DeliverOnce(0);
    return canRead;
  }
  bool ReadInput(std::string& /*bytes*/) override { return false; }
  bool InputIsTerminal() override { return false; }
  std::uint64_t TickCount() override { return m_now; }

 private:
  std::uint64_t m_now = 0;
};

}  // namespace tlk::host
