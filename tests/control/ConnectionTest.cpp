#include "tests/control/ControlFixture.h"

namespace tlk::test {

using ConnectionTest = ControlFixture;

const std::string kConnected = "N0 226 Status changed. Connected.\n|status 3|";
const std::string kClosed = Ended("N0 388 Connection closed.\n", 395);
const std::string kDisconnected = Ended("N0 68 Disconnect requested.", 76);

TEST_F(ConnectionTest, ConnectSetsTheConnectionUp) {
  EXPECT_EQ(Look(), kIsOver);
  events.onStatus = [this] { EXPECT_FALSE(window.Runs(kKeepAliveTimer)) << "told first"; };
  sockets.onCall = [this](auto) { EXPECT_EQ(control->m_status, TLK_Resolving); };
  EXPECT_EQ(Connect(u"127.0.0.1", 0x15055B), 1);
  EXPECT_EQ(Look(), kConnected + kStands);
  EXPECT_THAT(sockets.calls,
              testing::ElementsAre("Connect", "EnableKeepAlive", "RequestNotifications 49443 51"));
  EXPECT_EQ(sockets.connectedTo.family, 2);
  EXPECT_EQ(sockets.connectedTo.port, 0x5B05) << "the low half of the port, in network order";
  EXPECT_EQ(sockets.connectedTo.address, 0x0100007FU);
  EXPECT_THAT(sockets.connectedTo.zero, testing::Each(0));
  EXPECT_EQ(Connect(), kUnwritten) << "while there is a connection";
  EXPECT_EQ(Look(), kStands);
}

TEST_F(ConnectionTest, AnUnknownHostLeavesOneSocketOpenInSilence) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Connect(u"no.such.host"), 0);
    EXPECT_EQ(Look(), "status 0, 1 open");
  }
  sockets.hostAddress = 0x04030201;
  EXPECT_EQ(Connect({u"known\0host", 10}), 1);
  EXPECT_EQ(sockets.lookedUp, "known") << "an argument ends at a zero";
  EXPECT_EQ(sockets.connectedTo.address, 0x04030201U);
  EXPECT_EQ(Look(), kConnected + kStands);
}

TEST_F(ConnectionTest, AConnectThatFailsTellsWhy) {
  const std::tuple<const char*, int, std::string> failures[] = {
      {"Open", 10024, ""},
      {"Connect", 10061, Ended(trace::kConnectFailed, "10061")},
      {"EnableKeepAlive", 10042, Ended(trace::kKeepAliveOptionFailed, "10042")},
      {"RequestNotifications", 10022, Ended(trace::kAsyncSelectFailed, "10022")}};
  for (const auto& [call, error, told] : failures) {
    sockets.Fail(call, error);
    EXPECT_EQ(Connect(), 0);
    EXPECT_EQ(Look(), told + kIsOver);
    EXPECT_EQ(Connect(), 1);
    EXPECT_EQ(Look(), kConnected + kStands);
    control->Disconnect();
    EXPECT_EQ(Look(), kDisconnected + kIsOver);
  }
}

TEST_F(ConnectionTest, AConnectThatWouldBlockCountsAsConnected) {
  const std::string both = "status 3, 1 open, connect timer, keep-alive timer";
  sockets.Fail("Connect", socket_error::kWouldBlock);
  EXPECT_EQ(Connect(), 1);
  EXPECT_EQ(Look(), "N0 139 Asynchronous connection attempt started.\n|" + kConnected + both);
  window.Advance(59'999);
  EXPECT_EQ(Look(), both);
  window.Advance(1);
  EXPECT_THAT(Look(), testing::EndsWith(kStands));
}

TEST_F(ConnectionTest, DestructionIsSilent) {
  sockets.Fail("Connect", socket_error::kWouldBlock);
  ConnectQuietly();
  control.reset();
  EXPECT_EQ(events.told, "");
  EXPECT_EQ(sockets.OpenCount(), 0U);
  EXPECT_FALSE(window.Runs(kConnectTimer) || window.Runs(kKeepAliveTimer) || window.HasTarget());
}

TEST_F(ConnectionTest, AStatusInsideAStatusHandlerIsNotTold) {
  events.onStatus = [this] { control->Disconnect(); };
  EXPECT_EQ(Connect(), 1);
  EXPECT_EQ(Look(), kConnected + "N0 68 Disconnect requested.|" + kIsOver + ", keep-alive timer");
  events.onStatus = [this] {
    EXPECT_EQ(Connect(), 1);
    Notify(socket_event::kClose);
    EXPECT_EQ(Connect(), 1);
  };
  control->Disconnect();
  EXPECT_EQ(Look(), kDisconnected + "N0 388 Connection closed.\n|" + kStands);
}

TEST_F(ConnectionTest, ANotificationStopsTheTimers) {
  const std::tuple<std::uint32_t, int, std::string> notifications[] = {
      {socket_event::kRead, 0, kStands},
      {socket_event::kWrite, 0, kStands},
      {socket_event::kConnect, 0,
       "N0 375 Connect succeeded.\n|N0 381 Status changed. Connected.\n|status 3|" + kStands},
      {8, 0, "N0 402 Unknown Event %d.\n|status 3, 1 open"},
      {socket_event::kClose, 0, kClosed + kIsOver},
      {socket_event::kClose, 10054, Ended(trace::kNotifiedReset) + kIsOver},
      {socket_event::kConnect, 10061, Ended(trace::kNotifiedRefused) + kIsOver},
      {socket_event::kRead, 10053, Ended(trace::kNotifiedAborted) + kIsOver},
      {socket_event::kWrite, 10060, Ended(trace::kNotifiedUnknown, "10060") + kIsOver}};
  for (const auto& [event, error, look] : notifications) {
    sockets.Fail("Connect", socket_error::kWouldBlock);
    ConnectQuietly();
    Notify(event, error);
    EXPECT_EQ(Look(), look);
  }
}

TEST_F(ConnectionTest, AnotherSocketsNotificationIsIgnoredWhileThereIsOne) {
  ConnectQuietly();
  const auto old = control->m_socket;
  EXPECT_TRUE(window.Notify(old + 1, socket_event::kClose));
  EXPECT_EQ(Look(), kStands);
  control->Disconnect();
  EXPECT_TRUE(window.Notify(old, socket_event::kClose));
  EXPECT_EQ(Look(), kDisconnected + kClosed + kIsOver);
  EXPECT_TRUE(window.Notify(old, socket_event::kConnect));
  EXPECT_THAT(Look(), testing::EndsWith("|status 3|status 3, 0 open, keep-alive timer"));
  control->Disconnect();
  EXPECT_EQ(Look(), kDisconnected + kIsOver);
}

// What a handler throws, or a port for lack of memory: the connection ends, and with it what it
// held.
TEST_F(ConnectionTest, AnExceptionEndsTheConnection) {
  const auto lacksMemory = Ended(trace::kNotifiedUnknown, "10055") + kIsOver;
  std::int32_t value = kUnwritten;
  ConnectQuietly();
  Read("<TLK_Message");
  events.onStatus = [] { throw std::bad_alloc(); };
  Notify(socket_event::kClose);
  EXPECT_EQ(Look(), kClosed + lacksMemory);
  EXPECT_EQ(control->Connect(u"127.0.0.1", 1, &value), kResultOutOfMemory);
  EXPECT_EQ(Look(), kConnected + lacksMemory);
  events.onStatus = [] { throw 1; };
  EXPECT_EQ(control->Connect(u"127.0.0.1", 1, &value), kResultFail);
  EXPECT_EQ(value, kUnwritten);
  events.onStatus = [] {};
  ConnectQuietly();
  sockets.Fail("Send", socket_error::kConnectionReset);
  events.onStatus = [] { throw 1; };
  window.Advance(60'000);
  EXPECT_THAT(Look(), testing::StartsWith(Ended(trace::kSendReset) + lacksMemory));
}

TEST_F(ConnectionTest, TheLogLiesInTheTemporaryFolder) {
  const std::string longest(9999, 'a');
  // The folder, another in its place once it was too long to be told, and what became of it.
  const std::tuple<std::string, std::string, std::string> folders[] = {
      {"/tmp/x/", "", "/tmp/x/"},
      {"", "/tmp/", "/"},
      {longest, "", longest},
      {longest + 'a', "/tmp/", longest},
      {longest + 'a', "", "/"}};
  for (const auto& [folder, later, expected] : folders) {
    surroundings.temporaryFolder = folder;
    surroundings.laterFolder = later;
    control = std::make_unique<OpenControl>(ports, events);
    EXPECT_EQ(log.GetDirectory(), expected);
  }
}

}  // namespace tlk::test
