#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/tlk/host/ControlDriver.h"

namespace tlk::host {

class FakeControlDriver;

/// A control that connects to anything and raises what a test says.
class FakeControl : public DrivenControl {
 public:
  FakeControl(FakeControlDriver& driver, DrivenEvents& events);
  ~FakeControl() override;

  ConnectResult Connect(const std::string& server, std::int32_t port) override;
  std::int32_t Disconnect() override;
  StatusResult ConnectionStatus() override { return {0, m_status}; }
  std::int32_t Send(const std::string& type, const std::string& data) override;
  RequestResult Request(const std::string& type, const std::string& data,
                        std::int32_t timeoutMs) override;

  void ChangeStatus(std::int32_t status) {
    ++m_depth;
    m_status = status;
    m_events.OnStatus(status);
    --m_depth;
  }

  void RaiseMessage(const std::string& type, const std::string& data) {
    ++m_depth;
    m_events.OnMessage(type, data);
    --m_depth;
  }

 private:
  FakeControlDriver& m_driver;
  DrivenEvents& m_events;
  std::int32_t m_status = 0;
  int m_depth = 0;
};

/// A driver whose time moves only while somebody waits, and whose deliveries come at fixed moments.
class FakeControlDriver : public ControlDriver {
 public:
  /// The controls that were made and not yet freed, in order; null where one was freed.
  std::vector<FakeControl*> controls;
  std::vector<std::string> calls;
  RequestResult reply;
  bool refusesControls = false;

  /// `act` is delivered once the clock has come that far.
  void At(std::uint64_t milliseconds, std::function<void()> act) {
    m_deliveries.emplace_back(milliseconds, std::move(act));
  }

  /// From then on standard input can be read.
  void InputAt(std::uint64_t milliseconds) { m_inputAt = milliseconds; }

  std::unique_ptr<DrivenControl> NewControl(DrivenEvents& events) override {
    if (refusesControls) return nullptr;
    return std::make_unique<FakeControl>(*this, events);
  }

  void DeliverOnce(std::uint32_t milliseconds) override {
    const std::uint64_t end = m_now + milliseconds;
    const auto next = std::min_element(m_deliveries.begin(), m_deliveries.end(), IsEarlier);
    if (next == m_deliveries.end() || next->first > end) {
      m_now = end;
      return;
    }
    m_now = std::max(m_now, next->first);
    const std::function<void()> act = std::move(next->second);
    m_deliveries.erase(next);
    act();
  }

  bool DeliverOnceOrInput() override {
    if (m_now < m_inputAt) DeliverOnce(static_cast<std::uint32_t>(m_inputAt - m_now));
    return m_now >= m_inputAt;
  }

  bool ReadInput(std::string& /*bytes*/) override { return false; }
  bool InputIsTerminal() override { return false; }
  std::uint64_t TickCount() override { return m_now; }

 private:
  using Delivery = std::pair<std::uint64_t, std::function<void()>>;

  static bool IsEarlier(const Delivery& left, const Delivery& right) {
    return left.first < right.first;
  }

  std::uint64_t m_now = 0;
  std::uint64_t m_inputAt = 0;
  std::vector<Delivery> m_deliveries;
};

inline FakeControl::FakeControl(FakeControlDriver& driver, DrivenEvents& events)
    : m_driver(driver), m_events(events) {
  m_driver.controls.push_back(this);
}

inline FakeControl::~FakeControl() {
  EXPECT_EQ(m_depth, 0) << "a control was freed inside its own call or event";
  std::replace(m_driver.controls.begin(), m_driver.controls.end(), this,
               static_cast<FakeControl*>(nullptr));
}

inline ConnectResult FakeControl::Connect(const std::string& server, std::int32_t port) {
  m_driver.calls.push_back("connect " + server + " " + std::to_string(port));
  if (m_status != 0) return {static_cast<std::int32_t>(0x80004005), std::nullopt};
  ChangeStatus(3);
  return {0, 1};
}

inline std::int32_t FakeControl::Disconnect() {
  ChangeStatus(0);
  return 0;
}

inline std::int32_t FakeControl::Send(const std::string& type, const std::string& data) {
  m_driver.calls.push_back("send " + type + " " + data);
  return 0;
}

inline RequestResult FakeControl::Request(const std::string& type, const std::string& data,
                                          std::int32_t timeoutMs) {
  m_driver.calls.push_back("request " + type + " " + data + " " + std::to_string(timeoutMs));
  return m_driver.reply;
}

}  // namespace tlk::host
