#include "tests/control/ControlFixture.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr std::int32_t kUnwritten = -77;

const std::string kConnectedRecord = "N0 226 Status changed. Connected.\n";

class ConnectionTest : public ControlFixture {
 protected:
  ResultCode Connect(std::u16string_view server = u"127.0.0.1", std::int32_t port = 1371) {
    pVal = kUnwritten;
    return control->Connect(server, port, &pVal);
  }

  std::int32_t pVal = kUnwritten;
};

TEST_F(ConnectionTest, AFreshControlIsDisconnected) {
  TLK_ConnStatusEnum status = TLK_Connected;
  EXPECT_EQ(control->ConnectionStatus(&status), kResultOk);
  EXPECT_EQ(status, TLK_Not_Connected);
}

TEST_F(ConnectionTest, ConnectSetsTheConnectionUp) {
  events.onStatus = [this] {
    EXPECT_EQ(pVal, kUnwritten);
    EXPECT_FALSE(window.Runs(kKeepAliveTimer));
  };
  EXPECT_EQ(Connect(u"127.0.0.1", 0x15055B), kResultOk);
  EXPECT_EQ(pVal, 1);
  EXPECT_THAT(timeline, ElementsAre(kConnectedRecord, "event status 3"));
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));
  EXPECT_FALSE(window.Runs(kConnectTimer));
  EXPECT_EQ(sockets.mask, 0x33U);
  EXPECT_EQ(sockets.message, 0xC123U);
  EXPECT_EQ(sockets.connectedTo.family, 2);
  EXPECT_EQ(sockets.connectedTo.port, 0x5B05) << "the low half of the port, in network order";
  EXPECT_EQ(sockets.connectedTo.address, 0x0100007FU);
}

TEST_F(ConnectionTest, AHostNameIsLookedUp) {
  sockets.hostAddress = 0x04030201;
  EXPECT_EQ(Connect(u"message.server"), kResultOk);
  EXPECT_EQ(pVal, 1);
  EXPECT_EQ(sockets.connectedTo.address, 0x04030201U);
}

TEST_F(ConnectionTest, ConnectFailsUnlessDisconnected) {
  ConnectQuietly();
  EXPECT_EQ(Connect(), kResultFail);
  EXPECT_EQ(pVal, kUnwritten);
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_EQ(control->m_status, TLK_Connected);
}

struct ConnectFailure {
  const char* name;
  Call call;
  int error;
  const char* failures;
};

class ConnectFailureTest : public ConnectionTest,
                           public testing::WithParamInterface<ConnectFailure> {};

TEST_P(ConnectFailureTest, IsReported) {
  sockets.Fail(GetParam().call, GetParam().error);
  EXPECT_EQ(Connect(), kResultOk);
  EXPECT_EQ(pVal, 0);
  EXPECT_THAT(timeline, ElementsAreArray(Failures(GetParam().failures)));
  EXPECT_EQ(control->m_status, TLK_Not_Connected);
  EXPECT_EQ(control->m_socket, kInvalidSocket);
  EXPECT_EQ(sockets.OpenCount(), 0U);
  EXPECT_FALSE(window.Runs(kKeepAliveTimer));

  EXPECT_EQ(Connect(), kResultOk) << "a later Connect starts afresh";
  EXPECT_EQ(pVal, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Steps, ConnectFailureTest,
    testing::Values(ConnectFailure{"Socket", Call::kOpen, 10024, ""},
                    ConnectFailure{"Refused", Call::kConnect, 10061,
                                   "E2 150 Connect Failed. Err num = 10061>158"},
                    ConnectFailure{"TimedOut", Call::kConnect, 10060,
                                   "E2 150 Connect Failed. Err num = 10060>158"},
                    ConnectFailure{"KeepAliveOption", Call::kEnableKeepAlive, 10042,
                                   "E2 178 Connect Failed. Err num = 10042>186"},
                    ConnectFailure{"AsyncSelect", Call::kRequestNotifications, 10022,
                                   "E2 207 Async Select failed. Err num = 10022>214"}),
    [](const auto& test) { return test.param.name; });

TEST_F(ConnectionTest, AnUnknownHostLeavesOneSocketOpenInSilence) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Connect(u"no.such.host"), kResultOk);
    EXPECT_EQ(pVal, 0);
    EXPECT_THAT(timeline, IsEmpty());
    EXPECT_EQ(control->m_status, TLK_Not_Connected);
    EXPECT_TRUE(sockets.IsOpen(control->m_socket));
    EXPECT_EQ(sockets.OpenCount(), 1U);
  }
  control->Disconnect();
  EXPECT_EQ(sockets.OpenCount(), 0U);
}

TEST_F(ConnectionTest, AConnectThatWouldBlockCountsAsConnected) {
  sockets.Fail(Call::kConnect, socket_error::kWouldBlock);
  EXPECT_EQ(Connect(), kResultOk);
  EXPECT_EQ(pVal, 1);
  EXPECT_THAT(timeline, ElementsAre("N0 139 Asynchronous connection attempt started.\n",
                                    kConnectedRecord, "event status 3"));
  EXPECT_TRUE(window.Runs(kConnectTimer));
  timeline.clear();

  window.Advance(59999);
  EXPECT_TRUE(window.Runs(kConnectTimer));
  window.Advance(1);
  EXPECT_FALSE(window.Runs(kConnectTimer));
  EXPECT_EQ(control->m_status, TLK_Connected);

  timeline.clear();
  EXPECT_TRUE(Notify(socket_event::kConnect));
  EXPECT_THAT(timeline, ElementsAre("N0 375 Connect succeeded.\n",
                                    "N0 381 Status changed. Connected.\n", "event status 3"));
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));
}

TEST_F(ConnectionTest, DisconnectIsAnnouncedEveryTime) {
  ConnectQuietly();
  for (int i = 0; i < 2; ++i) {
    timeline.clear();
    EXPECT_EQ(control->Disconnect(), kResultOk);
    EXPECT_THAT(timeline, ElementsAreArray(Failures("N0 68 Disconnect requested.>76")));
    EXPECT_FALSE(window.Runs(kKeepAliveTimer));
    EXPECT_EQ(sockets.OpenCount(), 0U);
  }
  EXPECT_EQ(sockets.closes, 1);
}

TEST_F(ConnectionTest, DisconnectInsideTheConnectedHandlerIsNotAnnounced) {
  events.onStatus = [this] { control->Disconnect(); };
  EXPECT_EQ(Connect(), kResultOk);
  EXPECT_EQ(pVal, 1);
  EXPECT_THAT(timeline,
              ElementsAre(kConnectedRecord, "event status 3", "N0 68 Disconnect requested."));
  EXPECT_EQ(control->m_status, TLK_Not_Connected);
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));
}

TEST_F(ConnectionTest, ConnectInsideTheDisconnectedHandlerIsNotAnnounced) {
  ConnectQuietly();
  events.onStatus = [this] { EXPECT_EQ(Connect(), kResultOk); };
  control->Disconnect();
  EXPECT_EQ(control->m_status, TLK_Connected);
  EXPECT_EQ(pVal, 1);
  EXPECT_THAT(timeline, ElementsAreArray(Failures("N0 68 Disconnect requested.>76")));
}

TEST_F(ConnectionTest, DestructionIsSilent) {
  ConnectQuietly();
  control.reset();
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_EQ(sockets.OpenCount(), 0U);
  EXPECT_FALSE(window.Runs(kKeepAliveTimer));
  EXPECT_FALSE(window.HasTarget());
}

struct Notification {
  const char* name;
  std::uint32_t event;
  int error;
  const char* failures;
};

class NotificationTest : public ConnectionTest, public testing::WithParamInterface<Notification> {};

TEST_P(NotificationTest, EndsTheConnection) {
  ConnectQuietly();
  EXPECT_TRUE(Notify(GetParam().event, GetParam().error));
  EXPECT_THAT(timeline, ElementsAreArray(Failures(GetParam().failures)));
  EXPECT_EQ(control->m_status, TLK_Not_Connected);
  EXPECT_EQ(sockets.OpenCount(), 0U);
  EXPECT_FALSE(window.Runs(kKeepAliveTimer));
}

INSTANTIATE_TEST_SUITE_P(
    Errors, NotificationTest,
    testing::Values(Notification{"Close", 32, 0, "N0 388 Connection closed.\n>395"},
                    Notification{"Reset", 32, 10054, "E2 280 Connection was reset.\n>287"},
                    Notification{"Refused", 16, 10061, "E2 294 Connection was refused.\n>302"},
                    Notification{"Aborted", 1, 10053, "E2 309 Connection was aborted.\n>316"},
                    Notification{"Other", 2, 10060,
                                 "E2 333 Unknown Err. Closing connection. 10060>338"}),
    [](const auto& test) { return test.param.name; });

TEST_F(ConnectionTest, AnUnknownEventIsRecordedAsItStands) {
  ConnectQuietly();
  EXPECT_TRUE(Notify(8));
  EXPECT_THAT(timeline, ElementsAre("N0 402 Unknown Event %d.\n"));
  EXPECT_FALSE(window.Runs(kKeepAliveTimer));
  EXPECT_EQ(control->m_status, TLK_Connected);
}

TEST_F(ConnectionTest, AnotherSocketsNotificationIsIgnoredWhileThereIsOne) {
  ConnectQuietly();
  window.Notify(control->m_socket + 1, socket_event::kClose);
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));

  const auto old = control->m_socket;
  control->Disconnect();
  timeline.clear();
  window.Notify(old, socket_event::kClose);
  EXPECT_THAT(timeline, ElementsAreArray(Failures("N0 388 Connection closed.\n>395")));
}

TEST_F(ConnectionTest, WriteFlushesWhatIsQueued) {
  ConnectQuietly();
  control->m_pendingOut = "queued";
  Notify(socket_event::kWrite);
  EXPECT_THAT(timeline, ElementsAre("N0 642 Message sent. queued\n"));
  EXPECT_EQ(sockets.sent, "queued");
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));

  timeline.clear();
  Notify(socket_event::kWrite);
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));
}

struct PartialSend {
  int taken;
  const char* left;
};

void PrintTo(const PartialSend& send, std::ostream* out) { *out << send.taken; }

class PartialSendTest : public ConnectionTest, public testing::WithParamInterface<PartialSend> {};

TEST_P(PartialSendTest, KeepsTheLastByteTaken) {
  ConnectQuietly();
  control->m_pendingOut = "0123456789";
  sockets.TakeOnly(GetParam().taken);
  Notify(socket_event::kWrite);
  EXPECT_EQ(control->m_pendingOut, GetParam().left);
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));
}

INSTANTIATE_TEST_SUITE_P(Counts, PartialSendTest,
                         testing::Values(PartialSend{0, ""}, PartialSend{1, "0123456789"},
                                         PartialSend{2, "123456789"}, PartialSend{9, "89"}));

struct SendFailure {
  int error;
  const char* failures;
};

void PrintTo(const SendFailure& failure, std::ostream* out) { *out << failure.error; }

class SendFailureTest : public ConnectionTest, public testing::WithParamInterface<SendFailure> {};

TEST_P(SendFailureTest, KeepsTheQueue) {
  ConnectQuietly();
  control->m_pendingOut = "kept";
  sockets.Fail(Call::kSend, GetParam().error);
  Notify(socket_event::kWrite);
  EXPECT_THAT(timeline, ElementsAreArray(Failures(GetParam().failures)));
  EXPECT_EQ(control->m_pendingOut, "kept");
  const bool stands = GetParam().failures[0] == '\0';
  EXPECT_EQ(control->m_status, stands ? TLK_Connected : TLK_Not_Connected);
  EXPECT_EQ(window.Runs(kKeepAliveTimer), stands);
}

INSTANTIATE_TEST_SUITE_P(
    Errors, SendFailureTest,
    testing::Values(
        SendFailure{10035, ""}, SendFailure{10036, ""},
        SendFailure{10054, "E2 560 Connection was reset.\n>567"},
        SendFailure{10061, "E2 575 Connection was refused.\n>583"},
        SendFailure{10053, "E2 591 Connection was aborted.\n>598"},
        SendFailure{10055, "E2 618 Unknown Socket error. Closing connection. Err Num = 10055>623"}),
    [](const auto& test) { return std::to_string(test.param.error); });

TEST_F(ConnectionTest, OutputQueuedBeforeADropGoesOutOnTheNextConnection) {
  ConnectQuietly();
  control->m_pendingOut = "kept";
  Notify(socket_event::kClose);
  ConnectQuietly();
  Notify(socket_event::kWrite);
  EXPECT_EQ(sockets.sent, "kept");
}

struct Folder {
  const char* name;
  std::string path;
  std::string expected;
};

class LogFolderTest : public ControlFixture, public testing::WithParamInterface<Folder> {};

TEST_P(LogFolderTest, IsTheTemporaryFolder) {
  log.SetDirectory("unset");
  surroundings.SetTemporaryFolder(GetParam().path);
  control = std::make_unique<OpenControl>(ports, events);
  EXPECT_EQ(log.GetDirectory(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, LogFolderTest,
    testing::Values(Folder{"Ordinary", "/tmp/x/", "/tmp/x/"}, Folder{"None", "", "/"},
                    Folder{"Longest", std::string(9999, 'a'), std::string(9999, 'a')},
                    Folder{"TooLong", std::string(10000, 'a'), "unset"}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace tlk::test
