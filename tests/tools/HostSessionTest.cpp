#include "tools/tlk/host/HostSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace tlk::host {
namespace {

using testing::ElementsAre;

/// A control that connects to anything and raises what a test says.
class FakeControl : public DrivenControl {
 public:
  using Registry = std::vector<FakeControl*>;

  FakeControl(Registry& registry, DrivenEvents& events) : m_registry(registry), m_events(events) {
    m_registry.push_back(this);
  }
  ~FakeControl() override {
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
    m_status = status;
    m_events.OnStatus(status);
  }
  void RaiseMessage(const std::string& type) { m_events.OnMessage(type, ""); }

 private:
  Registry& m_registry;
  DrivenEvents& m_events;
  std::int32_t m_status = 0;
};

/// A driver whose time moves only while somebody waits: a millisecond for each delivery, and as
/// long as it takes when there is none. Standard input can be read when all is delivered.
class FakeControlDriver : public ControlDriver {
 public:
  FakeControl::Registry controls;  ///< In the order in which they were made; null when freed.
  std::deque<std::function<void()>> deliveries;

  std::unique_ptr<DrivenControl> NewControl(DrivenEvents& events) override {
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
  std::uint64_t TickCount() override { return m_now; }

 private:
  std::uint64_t m_now = 0;
};

class HostSessionTest : public testing::Test {
 protected:
  /// Runs the lines until the session ends and gives what they print.
  std::vector<std::string> Run(std::initializer_list<const char*> lines) {
    m_output.clear();
    for (const char* const line : lines) {
      if (!m_session.Ended()) m_session.RunLine(line);
    }
    return m_output;
  }

  /// A millisecond later than the one before, the control with that number raises a message.
  void MessageFor(std::size_t number, const char* type) {
    m_driver.deliveries.emplace_back([=, this] { Control(number).RaiseMessage(type); });
  }
  void StatusFor(std::size_t number, std::int32_t status) {
    m_driver.deliveries.emplace_back([=, this] { Control(number).ChangeStatus(status); });
  }

  FakeControl& Control(std::size_t number) { return *m_driver.controls.at(number - 1); }
  bool IsFreed(std::size_t number) { return m_driver.controls.at(number - 1) == nullptr; }

  FakeControlDriver m_driver;
  std::vector<std::string> m_output;
  HostSession m_session{m_driver, [this](std::string_view line) { m_output.emplace_back(line); }};
};

TEST_F(HostSessionTest, WaitsForTheNextEventOfItsKindAndControl) {
  Run({"new", "connect a 1"});
  MessageFor(2, "A");
  StatusFor(1, 3);
  StatusFor(2, 0);
  EXPECT_THAT(
      Run({"wait status 100", "pump 50", "wait message 100"}),
      ElementsAre(R"(event TlkMsgRecieved type="A" data="" control=2)",
                  "event ConnStatusChanged status=3", "event ConnStatusChanged status=0 control=2",
                  "wait ok", "pump", "wait timeout"));
  EXPECT_EQ(m_driver.TickCount(), 153U);
}

TEST_F(HostSessionTest, RunsOneHandlerPerEventInsideIt) {
  EXPECT_THAT(Run({"on status status", "on status on status send Inner", "connect a 1",
                   "disconnect", "disconnect", "disconnect"}),
              ElementsAre("event ConnStatusChanged status=3", "status hr=0x00000000 value=3",
                          "connect hr=0x00000000 pVal=1",      //
                          "event ConnStatusChanged status=0",  //
                          "disconnect hr=0x00000000",          //
                          "event ConnStatusChanged status=0", "send hr=0x00000000",
                          "disconnect hr=0x00000000",          //
                          "event ConnStatusChanged status=0",  //
                          "disconnect hr=0x00000000"));
}

TEST_F(HostSessionTest, DeliversInsideAHandlerThatActsOnTheControlOfItsEvent) {
  Run({"on message wait status 20", "new"});
  MessageFor(1, "A");
  StatusFor(2, 3);
  StatusFor(1, 0);
  EXPECT_THAT(Run({"pump 5"}), ElementsAre(R"(event TlkMsgRecieved type="A" data="")",
                                           "event ConnStatusChanged status=3 control=2",
                                           "event ConnStatusChanged status=0", "wait ok", "pump"));
}

TEST_F(HostSessionTest, EndsAControlAtOnceThatIsDestroyedInItsOwnCallOrEvent) {
  m_driver.deliveries.emplace_back([&] {
    Control(1).RaiseMessage("A");
    EXPECT_TRUE(IsFreed(1));
  });
  EXPECT_THAT(Run({"on message destroy", "wait status 10", "use 1", "new", "on status destroy",
                   "connect a 1", "status"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="")", "destroy 1", "wait timeout",
                          "error: there is no control 1", "new 2",
                          "event ConnStatusChanged status=3 control=2", "destroy 2",
                          "connect hr=0x00000000 pVal=1", "error: no control is in use"));
}

TEST_F(HostSessionTest, EndsAfterTheHandlerThatQuits) {
  m_driver.deliveries.emplace_back([&] {
    Control(1).RaiseMessage("A");
    Control(1).ChangeStatus(0);
  });
  EXPECT_THAT(Run({"on message quit", "on status send Never", "pump 1000", "status"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="")",
                          "event ConnStatusChanged status=0", "pump"));
  EXPECT_EQ(m_driver.TickCount(), 1U);
}

TEST_F(HostSessionTest, EndsWhileItWaitsForInput) {
  MessageFor(1, "A");
  EXPECT_TRUE(m_session.WaitForInput());
  MessageFor(1, "B");
  MessageFor(1, "C");
  Run({"on message quit"});
  EXPECT_FALSE(m_session.WaitForInput());
  EXPECT_THAT(m_output, ElementsAre(R"(event TlkMsgRecieved type="B" data="")"));
}

}  // namespace
}  // namespace tlk::host
