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
      if (m_session.Ended()) break;
      m_session.RunLine(line);
    }
    return m_output;
  }

  FakeControl& Control(std::size_t number) { return *m_driver.controls.at(number - 1); }
  bool IsFreed(std::size_t number) { return m_driver.controls.at(number - 1) == nullptr; }

  FakeControlDriver m_driver;
  std::vector<std::string> m_output;
  HostSession m_session{m_driver, [this](std::string_view line) { m_output.emplace_back(line); }};
};

TEST_F(HostSessionTest, PrintsResultsAfterTheEventsTheyRaised) {
  EXPECT_THAT(Run({"status", "connect host -1", "connect host 2", "status", "send Hello",
                   "send Hello <a/>", "disconnect", "disconnect"}),
              ElementsAre("status hr=0x00000000 value=0",      //
                          "event ConnStatusChanged status=3",  //
                          "connect hr=0x00000000 pVal=1",      //
                          "connect hr=0x80004005 pVal=-",      //
                          "status hr=0x00000000 value=3",      //
                          "send hr=0x00000000",                //
                          "send hr=0x00000000",                //
                          "event ConnStatusChanged status=0",  //
                          "disconnect hr=0x00000000",          //
                          "event ConnStatusChanged status=0",  //
                          "disconnect hr=0x00000000"));
  EXPECT_THAT(m_driver.calls,
              ElementsAre("connect host -1", "connect host 2", "send Hello ", "send Hello <a/>"));
  EXPECT_EQ(m_session.ExitStatus(), 0);
}

TEST_F(HostSessionTest, PrintsWhatARequestWroteAndNothingElse) {
  EXPECT_THAT(Run({"request Time \"\" 250"}), ElementsAre("request hr=0x00000000 type=- data=-"));
  m_driver.reply = {0, "Time \"now\"", ""};
  EXPECT_THAT(Run({"request Time \"\" 250"}),
              ElementsAre(R"(request hr=0x00000000 type="Time \"now\"" data="")"));
  EXPECT_THAT(m_driver.calls, ElementsAre("request Time  250", "request Time  250"));
}

TEST_F(HostSessionTest, GoesOnAfterARefusedLineAndEndsWithStatusOne) {
  EXPECT_THAT(Run({"status now", "# nothing", "use 2", "status"}),
              ElementsAre("error: wrong number of words: status", "error: there is no control 2",
                          "status hr=0x00000000 value=0"));
  EXPECT_EQ(m_session.ExitStatus(), 1);
}

TEST_F(HostSessionTest, NumbersControlsAndNeverUsesANumberAgain) {
  EXPECT_THAT(
      Run({"new", "connect a 1", "destroy", "status", "wait status 0", "pump 0", "new", "use 2",
           "use 1", "connect a 1"}),
      ElementsAre("new 2", "event ConnStatusChanged status=3 control=2",
                  "connect hr=0x00000000 pVal=1", "destroy 2", "error: no control is in use",
                  "error: no control is in use", "pump", "new 3", "error: there is no control 2",
                  "use 1", "event ConnStatusChanged status=3", "connect hr=0x00000000 pVal=1"));
  EXPECT_TRUE(IsFreed(2));
  EXPECT_FALSE(IsFreed(1) || IsFreed(3));
}

TEST_F(HostSessionTest, SaysSoWhenNoControlCanBeMade) {
  m_driver.refusesControls = true;
  EXPECT_THAT(Run({"new", "status"}),
              ElementsAre("error: no control could be made", "status hr=0x00000000 value=0"));
}

TEST_F(HostSessionTest, PumpsForAsLongAsItSays) {
  m_driver.At(10, [&] { Control(1).RaiseMessage("A", "<a/>"); });
  m_driver.At(50, [&] { Control(1).RaiseMessage("B", ""); });
  m_driver.At(51, [&] { Control(1).RaiseMessage("C", ""); });
  EXPECT_THAT(Run({"pump 50"}), ElementsAre(R"(event TlkMsgRecieved type="A" data="<a/>")",
                                            R"(event TlkMsgRecieved type="B" data="")", "pump"));
  EXPECT_EQ(m_driver.TickCount(), 50U);
}

TEST_F(HostSessionTest, WaitsForTheNextEventOfItsKindAndControl) {
  Run({"new", "connect a 1"});
  m_driver.At(5, [&] { Control(2).RaiseMessage("A", ""); });
  m_driver.At(6, [&] { Control(1).ChangeStatus(3); });
  m_driver.At(7, [&] { Control(2).ChangeStatus(0); });
  EXPECT_THAT(Run({"wait status 100", "wait message 100"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="" control=2)",
                          "event ConnStatusChanged status=3",
                          "event ConnStatusChanged status=0 control=2", "wait ok",  //
                          "wait timeout"));
  EXPECT_EQ(m_driver.TickCount(), 107U);
}

TEST_F(HostSessionTest, RunsOneHandlerPerEventInsideIt) {
  EXPECT_THAT(Run({"on status status", "on status on status send Inner", "connect a 1",
                   "disconnect", "disconnect", "disconnect"}),
              ElementsAre("event ConnStatusChanged status=3",  //
                          "status hr=0x00000000 value=3",      //
                          "connect hr=0x00000000 pVal=1",      //
                          "event ConnStatusChanged status=0",  //
                          "disconnect hr=0x00000000",          //
                          "event ConnStatusChanged status=0",  //
                          "send hr=0x00000000",                //
                          "disconnect hr=0x00000000",          //
                          "event ConnStatusChanged status=0",  //
                          "disconnect hr=0x00000000"));
}

TEST_F(HostSessionTest, ActsInAHandlerOnTheControlOfTheEvent) {
  Run({"connect a 1", "on message status", "new"});
  m_driver.At(5, [&] { Control(2).RaiseMessage("A", ""); });
  m_driver.At(6, [&] { Control(1).RaiseMessage("B", ""); });
  EXPECT_THAT(Run({"pump 10", "status"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="" control=2)",
                          R"(event TlkMsgRecieved type="B" data="")",
                          "status hr=0x00000000 value=3", "pump", "status hr=0x00000000 value=0"));
}

TEST_F(HostSessionTest, DeliversInsideAHandler) {
  m_driver.At(5, [&] { Control(1).RaiseMessage("A", ""); });
  m_driver.At(6, [&] { Control(1).ChangeStatus(0); });
  EXPECT_THAT(Run({"on message wait status 20", "wait message 100"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="")",
                          "event ConnStatusChanged status=0", "wait ok", "wait ok"));
}

TEST_F(HostSessionTest, SilencesAControlDestroyedInItsHandlerAndFreesItLater) {
  m_driver.At(5, [&] {
    Control(1).RaiseMessage("A", "");
    ASSERT_FALSE(IsFreed(1));
    Control(1).ChangeStatus(0);
  });
  m_driver.At(6, [&] { EXPECT_TRUE(IsFreed(1)); });
  EXPECT_THAT(Run({"on message destroy", "on status quit", "pump 10", "use 1"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="")", "destroy 1", "pump",
                          "error: there is no control 1"));
}

TEST_F(HostSessionTest, KeepsADestroyedControlWhileACommandWorksOnIt) {
  m_driver.At(5, [&] { Control(1).RaiseMessage("A", ""); });
  m_driver.At(6, [&] { EXPECT_FALSE(IsFreed(1)); });
  EXPECT_THAT(Run({"on message destroy", "wait status 10", "on status quit"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="")", "destroy 1", "wait timeout",
                          "error: no control is in use"));
  EXPECT_TRUE(IsFreed(1));

  EXPECT_THAT(Run({"new", "on status destroy", "connect a 1"}),
              ElementsAre("new 2", "event ConnStatusChanged status=3 control=2", "destroy 2",
                          "connect hr=0x00000000 pVal=1"));
  EXPECT_TRUE(IsFreed(2));
}

TEST_F(HostSessionTest, EndsAfterTheHandlerThatQuits) {
  m_driver.At(5, [&] {
    Control(1).RaiseMessage("A", "");
    Control(1).ChangeStatus(0);
  });
  EXPECT_THAT(Run({"on message quit", "on status send Never", "pump 1000", "status"}),
              ElementsAre(R"(event TlkMsgRecieved type="A" data="")",
                          "event ConnStatusChanged status=0", "pump"));
  EXPECT_EQ(m_driver.TickCount(), 5U);
  EXPECT_TRUE(m_session.Ended());
}

TEST_F(HostSessionTest, DeliversWhileItWaitsForInput) {
  m_driver.InputAt(10);
  m_driver.At(5, [&] { Control(1).RaiseMessage("A", ""); });
  EXPECT_TRUE(m_session.WaitForInput());
  EXPECT_EQ(m_driver.TickCount(), 10U);
  EXPECT_THAT(m_output, ElementsAre(R"(event TlkMsgRecieved type="A" data="")"));

  m_driver.InputAt(30);
  m_driver.At(20, [&] { Control(1).RaiseMessage("B", ""); });
  m_session.RunLine("on message quit");
  EXPECT_FALSE(m_session.WaitForInput());
  EXPECT_EQ(m_driver.TickCount(), 20U);
}

}  // namespace
}  // namespace tlk::host
