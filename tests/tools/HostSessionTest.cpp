#include "tools/tlk/host/HostSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "tests/tools/FakeControlDriver.h"

namespace tlk::host {
namespace {

using testing::ElementsAre;

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

TEST_F(HostSessionTest, NumbersControlsAndGoesOnAfterARefusedLine) {
  EXPECT_EQ(m_session.ExitStatus(), 0);
  EXPECT_THAT(
      Run({"new", "connect a 1", "destroy", "status", "pump 0", "new", "use 2", "use 1",
           "connect a 1", "status now"}),
      ElementsAre("new 2", "event ConnStatusChanged status=3 control=2",
                  "connect hr=0x00000000 pVal=1", "destroy 2", "error: no control is in use",
                  "pump", "new 3", "error: there is no control 2", "use 1",
                  "event ConnStatusChanged status=3", "connect hr=0x00000000 pVal=1",
                  "error: wrong number of words: status"));
  EXPECT_TRUE(IsFreed(2) && !IsFreed(1) && !IsFreed(3));
  m_driver.refusesControls = true;
  EXPECT_THAT(Run({"new", "status"}),
              ElementsAre("error: no control could be made", "status hr=0x00000000 value=3"));
  EXPECT_EQ(m_session.ExitStatus(), 1);
}

TEST_F(HostSessionTest, PumpsForAsLongAsItSays) {
  for (const char* const type : {"A", "B", "C", "D"}) MessageFor(1, type);
  EXPECT_THAT(Run({"pump 2"}), ElementsAre(testing::HasSubstr("\"A\""), testing::HasSubstr("\"B\""),
                                           testing::HasSubstr("\"C\""), "pump"));
  Run({"pump 50"});
  EXPECT_EQ(m_driver.TickCount(), 53U);
}

TEST_F(HostSessionTest, WaitsForTheNextEventOfItsKindAndControl) {
  Run({"new", "connect a 1"});
  MessageFor(2, "A");
  StatusFor(1, 3);
  StatusFor(2, 0);
  EXPECT_THAT(Run({"wait status 100", "wait message 100"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="" control=2)",
                          "event ConnStatusChanged status=3",
                          "event ConnStatusChanged status=0 control=2", "wait ok", "wait timeout"));
  EXPECT_EQ(m_driver.TickCount(), 103U);
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

TEST_F(HostSessionTest, SilencesAControlDestroyedInItsHandlerAndFreesItLater) {
  m_driver.deliveries.emplace_back([&] {
    Control(1).RaiseMessage("A");
    ASSERT_FALSE(IsFreed(1));
    Control(1).ChangeStatus(0);
  });
  m_driver.deliveries.emplace_back([&] { EXPECT_TRUE(IsFreed(1)); });
  EXPECT_THAT(Run({"on message destroy", "on status quit", "pump 10", "use 1"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="")", "destroy 1", "pump",
                          "error: there is no control 1"));
}

TEST_F(HostSessionTest, KeepsADestroyedControlWhileACommandWorksOnIt) {
  MessageFor(1, "A");
  m_driver.deliveries.emplace_back([&] { EXPECT_FALSE(IsFreed(1)); });
  EXPECT_THAT(Run({"on message destroy", "wait status 10", "new", "on status destroy",
                   "connect a 1", "status"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="")", "destroy 1", "wait timeout",
                          "new 2", "event ConnStatusChanged status=3 control=2", "destroy 2",
                          "connect hr=0x00000000 pVal=1", "error: no control is in use"));
  EXPECT_TRUE(IsFreed(1) && IsFreed(2));
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
