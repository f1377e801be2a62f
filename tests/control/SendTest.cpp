#include "tests/control/ControlFixture.h"

namespace tlk::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

// What the control sends: the envelope around its data.
std::string Sent(const std::string& type, const std::string& data, int from = -1) {
  return Frame(" Type=\"" + type + "\"><From Id=\"" + std::to_string(from) + "\"/><To Id=\"0\"/>" +
               data);
}

class SendTest : public ControlFixture {
 protected:
  void Request(std::int32_t timeOutMS = 250) {
    bool wasAnswered = false;
    EXPECT_EQ(control->SendReceiveTlkMsg(u"Ask", u"<Q/>", &type, &data, timeOutMS, &wasAnswered),
              kResultOk);
    EXPECT_EQ(wasAnswered, type != u"unwritten");
    EXPECT_EQ(wasAnswered, data != u"unwritten");
  }

  [[nodiscard]] std::string DataXml() const { return WithoutIndentation(ToNarrow(data)); }

  std::u16string type = u"unwritten";
  std::u16string data = u"unwritten";
};

TEST_F(SendTest, AMessageGoesOutAtOnce) {
  ConnectQuietly();
  window.StopTimer(kKeepAliveTimer);
  EXPECT_EQ(control->SendTLKMsg(u"Hello", u"<Text>hi</Text>"), kResultOk);
  const auto message = Sent("Hello", "<Data><Text>hi</Text></Data>");
  EXPECT_EQ(Bare(sockets.sent), message);
  EXPECT_THAT(timeline, ElementsAre("N0 642 Message sent. " + message + "\n"));
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));
}

struct Arguments {
  const char* name;
  std::u16string message;
  std::u16string data;
  std::string expected;
};

class ArgumentsTest : public SendTest, public testing::WithParamInterface<Arguments> {};

TEST_P(ArgumentsTest, BecomeADocument) {
  ConnectQuietly();
  control->SendTLKMsg(GetParam().message, GetParam().data);
  EXPECT_EQ(Bare(sockets.sent), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ArgumentsTest,
    testing::Values(Arguments{"Empty", u"", u"", Sent("", "<Data/>")},
                    Arguments{"NotXml", u"T", u"just text", Sent("T", "<Data/>")},
                    Arguments{"TwoElements", u"T", u"<a/><b/>", Sent("T", "<Data/>")},
                    Arguments{"Escaped", u"a<b&\"", u"", Sent("a&lt;b&amp;&quot;", "<Data/>")},
                    Arguments{"Accents", u"\u00E9\u20AC", u"<a>\u00FC</a>",
                              Sent("\xE9\x80", "<Data><a>\xFC</a></Data>")},
                    Arguments{"OutsideTheCodePage", u"\u4E2D", u"<a>\u4E2D</a>",
                              Sent("?", "<Data><a>?</a></Data>")},
                    Arguments{"CutAtAZero", std::u16string(u"ab\0cd", 5),
                              std::u16string(u"<a/>\0<", 6), Sent("ab", "<Data><a/></Data>")}),
    [](const auto& test) { return test.param.name; });

TEST_F(SendTest, WhatTheSocketCannotTakeWaits) {
  ConnectQuietly();
  sockets.Fail(Call::kSend, socket_error::kWouldBlock);
  control->SendTLKMsg(u"A", u"");
  sockets.Fail(Call::kSend, socket_error::kWouldBlock);
  control->SendTLKMsg(u"B", u"");
  EXPECT_EQ(sockets.sent, "");
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));
  Notify(socket_event::kWrite);
  EXPECT_EQ(Bare(sockets.sent), Sent("A", "<Data/>") + Sent("B", "<Data/>"));
}

TEST_F(SendTest, WhileNotConnectedTheMessageIsKept) {
  EXPECT_EQ(control->SendTLKMsg(u"Early", u""), kResultOk);
  EXPECT_THAT(timeline,
              ElementsAreArray(Failures(
                  "E2 618 Unknown Socket error. Closing connection. Err Num = 10038>623")));
  EXPECT_FALSE(window.Runs(kKeepAliveTimer));
  ConnectQuietly();
  Notify(socket_event::kWrite);
  EXPECT_EQ(Bare(sockets.sent), Sent("Early", "<Data/>"));
}

TEST_F(SendTest, AMessageTooLongToFrameIsNotSent) {
  ConnectQuietly();
  control->SendTLKMsg(u"T", u"<a>x</a>");
  const auto empty = sockets.sent.size() - 1;
  sockets.sent.clear();
  timeline.clear();
  const auto fill = [&](std::size_t size) {
    return u"<a>" + std::u16string(size - empty, u'x') + u"</a>";
  };
  // Its stamp has a digit more, and makes it a byte longer.
  control->SendTLKMsg(u"T", fill(10000000));
  EXPECT_THAT(timeline, ElementsAre("E2 1031 Message too long. Not sent. Length = 10000001"));
  EXPECT_EQ(sockets.sent, "");
  EXPECT_EQ(control->m_pendingOut, "");
  EXPECT_EQ(control->m_status, TLK_Connected);
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));

  control->SendReceiveTlkMsg(u"T", fill(10000000), &type, &data, 10);
  EXPECT_EQ(sockets.sent, "");
  EXPECT_EQ(type, u"unwritten");

  control->SendTLKMsg(u"T", fill(9999999));
  EXPECT_EQ(sockets.sent.size(), 9999999U);
  EXPECT_EQ(sockets.sent.substr(0, 30), "<TLK_Message Length=\"9999999\" ");
}

TEST_F(SendTest, TheLearnedIdIsTheSender) {
  ConnectQuietly();
  ArriveAndRead(Frame("Hi", "", 7));
  control->SendTLKMsg(u"Hello", u"");
  EXPECT_EQ(Bare(sockets.sent), Sent("Hello", "<Data/>", 7));
}

TEST_F(SendTest, AnIdleConnectionIsKeptAliveEveryMinute) {
  ConnectQuietly();
  const auto keepAlive = Sent("Keep Connection Alive", "");
  window.Advance(59999);
  EXPECT_EQ(sockets.sent, "");
  window.Advance(1);
  EXPECT_EQ(Bare(sockets.sent), keepAlive);
  EXPECT_THAT(timeline, ElementsAre("N0 642 Message sent. " + keepAlive + "\n"));
  window.Advance(180000);
  EXPECT_EQ(Bare(sockets.sent), keepAlive + keepAlive + keepAlive + keepAlive);

  sockets.sent.clear();
  window.Advance(40000);
  control->SendTLKMsg(u"T", u"");
  window.Advance(40000);
  ArriveAndRead(Frame("Keep Connection Alive Response", ""));
  window.Advance(59999);
  EXPECT_EQ(Bare(sockets.sent), Sent("T", "<Data/>"));
}

TEST_F(SendTest, APeerThatNeverReadsMakesNothingWaitButAKeepAliveAMinute) {
  ConnectQuietly();
  for (int i = 0; i < 1000; ++i) {
    sockets.Fail(Call::kSend, socket_error::kWouldBlock);
    ArriveAndRead(Frame("Keep Connection Alive", ""));
  }
  EXPECT_EQ(control->m_pendingOut, "");
  window.Advance(120'000);
  const auto keepAlive = Sent("Keep Connection Alive", "", 7);
  EXPECT_EQ(Bare(control->m_pendingOut), keepAlive + keepAlive);
}

TEST_F(SendTest, WhatTheHostMaySendToAPeerThatNeverReadsHasALimit) {
  ConnectQuietly();
  const auto sendInVain = [&] {
    sockets.Fail(Call::kSend, socket_error::kWouldBlock);
    return control->SendTLKMsg(u"T", u"");
  };
  sendInVain();
  control->m_maxPendingOut = 2 * control->m_pendingOut.size();
  EXPECT_EQ(sendInVain(), kResultOk);
  EXPECT_EQ(control->SendTLKMsg(u"T", u""), kResultOutOfMemory);
  EXPECT_EQ(control->m_status, TLK_Connected);
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));
  Notify(socket_event::kWrite);
  EXPECT_EQ(Bare(sockets.sent), Sent("T", "<Data/>") + Sent("T", "<Data/>"));
}

TEST_F(SendTest, AKeepAliveThatFailsEndsTheConnection) {
  ConnectQuietly();
  sockets.Fail(Call::kSend, socket_error::kConnectionReset);
  window.Advance(60000);
  EXPECT_THAT(timeline, ElementsAreArray(Failures("E2 560 Connection was reset.\n>567")));
  EXPECT_FALSE(window.Runs(kKeepAliveTimer));
}

TEST_F(SendTest, ARequestTakesTheNextMessageForItsReply) {
  ConnectQuietly();
  sockets.Arrive(Frame("Keep Connection Alive Response", "<Data>1</Data>", 9) +
                 Frame("Answer", ""));
  Request();
  EXPECT_EQ(type, u"Keep Connection Alive Response");
  EXPECT_EQ(DataXml(), "<Data>1</Data>");
  EXPECT_EQ(Bare(sockets.sent), Sent("Ask", "<Data><Q/></Data>"));
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_EQ(sockets.sendTimeout, 250);
  EXPECT_EQ(sockets.receiveTimeout, 250);
  EXPECT_EQ(sockets.mask, 0x33U);
  EXPECT_FALSE(sockets.blocking);
  EXPECT_EQ(control->m_clientId, 9);

  Notify(socket_event::kRead);
  EXPECT_THAT(timeline,
              ElementsAre("N0 1000 Message Recieved. Answer\n", "event message [Answer] []"));
}

TEST_F(SendTest, ARequestReadsItsReplyInAnyPieces) {
  const auto reply = Frame("Answer", "<Data><A/></Data>");
  for (std::size_t size = 1; size < 40; ++size) {
    ConnectQuietly();
    for (std::size_t at = 0; at < reply.size(); at += size) {
      sockets.Arrive(reply.substr(at, size));
    }
    Request();
    EXPECT_EQ(DataXml(), "<Data><A/></Data>") << "pieces of " << size;
    data.clear();
    control->Disconnect();
  }
}

TEST_F(SendTest, ARequestReplacesAPartOfAMessage) {
  ConnectQuietly();
  sockets.Arrive(Frame("Cut off", "").substr(0, 50));
  Notify(socket_event::kRead);
  sockets.Arrive(Frame("Answer", ""));
  Request();
  EXPECT_EQ(type, u"Answer");
  EXPECT_EQ(control->m_recvText, "");
}

TEST_F(SendTest, AReadOfNothingIsRepeated) {
  ConnectQuietly();
  const auto reply = Frame("Answer", "");
  for (const auto& piece : {std::string(), reply.substr(0, 8), std::string(), reply.substr(8, 40),
                            std::string(), reply.substr(48)}) {
    sockets.Arrive(piece);
  }
  Request();
  EXPECT_EQ(type, u"Answer");
}

TEST_F(SendTest, AReplyThatIsNoDocumentIsEmpty) {
  ConnectQuietly();
  sockets.Arrive(Frame(" Type=\"Broken\"><Data></TLK_Message>"));
  Request();
  EXPECT_EQ(type, u"");
  EXPECT_EQ(data, u"");
  EXPECT_EQ(control->m_status, TLK_Connected);
}

// The call that fails, after how many of its kind go well, and all that the host then sees. A step
// that fails does not stop the exchange: the later ones fail in turn.
struct ExchangeFailure {
  const char* name;
  Call call;
  int after;
  int error;
  std::string failures;
};

const std::string kSendFails =
    "|E2 1140 Blocking send failed. Closing connection. Err Num = 10038>1147";
const std::string kReceiveTimeoutFails =
    "|E2 1118 Cannot set blocking recv timeout. Closing connection. Err Num = 10038>1125" +
    kSendFails;
const std::string kSendTimeoutFails =
    "|E2 1099 Cannot set blocking send timeout. Closing connection. Err Num = 10038>1106" +
    kReceiveTimeoutFails;
const std::string kReadFails =
    "|E2 1163 Blocking ReadMessage() failed. Closing connection. Err Num = ";

class ExchangeFailureTest : public SendTest, public testing::WithParamInterface<ExchangeFailure> {};

TEST_P(ExchangeFailureTest, LeavesItsRecords) {
  ConnectQuietly();
  sockets.Arrive(Frame("Answer", ""));
  sockets.Allow(GetParam().call, GetParam().after);
  sockets.Fail(GetParam().call, GetParam().error);
  Request();
  EXPECT_THAT(timeline, ElementsAreArray(Failures(GetParam().failures)));
  EXPECT_EQ(control->m_status, TLK_Not_Connected);
  EXPECT_EQ(sockets.OpenCount(), 0U);
  const bool replied = GetParam().call == Call::kRequestNotifications && GetParam().after == 1;
  EXPECT_EQ(type, replied ? u"Answer" : u"unwritten");
}

const ExchangeFailure kExchangeFailures[] = {
    {"NotificationsOff", Call::kRequestNotifications, 0, 10022,
     "E2 1060 WSAAsyncSelect to set blocking failed. Err Num = 10022>1067"},
    {"Blocking", Call::kSetBlocking, 0, 10022,
     "E2 1080 Cannot change to a blocking socket. Closing connection. Err Num = 10022>1087" +
         kSendTimeoutFails},
    {"SendTimeout", Call::kSetSendTimeout, 0, 10042,
     "E2 1099 Cannot set blocking send timeout. Closing connection. Err Num = 10042>1106" +
         kReceiveTimeoutFails},
    {"ReceiveTimeout", Call::kSetReceiveTimeout, 0, 10042,
     "E2 1118 Cannot set blocking recv timeout. Closing connection. Err Num = 10042>1125" +
         kSendFails},
    {"Send", Call::kSend, 0, 10060,
     "E2 1140 Blocking send failed. Closing connection. Err Num = 10060>1147"},
    {"Prefix", Call::kReceive, 0, 10060,
     "E2 834 Recv Err. Closing connection. Err Num = 10060>839" + kReadFails + "10060>1170"},
    {"Body", Call::kReceive, 1, 10054,
     "E2 879 Recv Err. Closing connection. Err Num = 10054>884" + kReadFails + "10054>1170"},
    {"NotificationsOn", Call::kRequestNotifications, 1, 10050,
     "E2 1197 WSAAsyncSelect to set non_blocking failed. Err Num = 10050>1204"},
};

INSTANTIATE_TEST_SUITE_P(Steps, ExchangeFailureTest, testing::ValuesIn(kExchangeFailures),
                         [](const auto& test) { return test.param.name; });

TEST_F(SendTest, ABadLengthEndsARequestOnce) {
  ConnectQuietly();
  sockets.Arrive("<TLK_Message Length=\"-000007\" xmlns");
  Request();
  EXPECT_THAT(timeline,
              ElementsAre("E2 857 Invalid Length. Closing connection. -7",
                          "E2 1163 Blocking ReadMessage() failed. Closing connection. Err Num = 0",
                          "N0 1170 Status changed. Disconnected.\n", "event status 0"));
}

TEST_F(SendTest, ARequestWhileNotConnectedFailsOnce) {
  Request();
  EXPECT_THAT(timeline,
              ElementsAreArray(
                  Failures("E2 1060 WSAAsyncSelect to set blocking failed. Err Num = 10038>1067")));
  EXPECT_EQ(type, u"unwritten");
}

}  // namespace
}  // namespace tlk::test
