#include "tests/control/ControlFixture.h"

namespace tlk::test {

/// What the control sends while it knows no id, and what is told of it when it has gone.
const std::string kMessage = Frame("T", "<Data/>", 0, -1);
std::string Gone(const std::string& text) { return "N0 642 Message sent. " + text + "\n|"; }

struct SendTest : ControlFixture {
  SendTest() { ConnectQuietly(); }

  void SendInVain(int error = socket_error::kWouldBlock) {
    sockets.Fail("Send", error);
    EXPECT_EQ(control->SendTLKMsg(u"T", u""), kResultOk);
  }

  /// The reply, as "Type: <Data/>", or nothing when there was none.
  std::string Request(std::u16string_view question = u"<Q/>") {
    bool wasAnswered = true;
    std::u16string type = u"unwritten";
    std::u16string data = type;
    EXPECT_EQ(control->SendReceiveTlkMsg(u"Ask", question, &type, &data, 250, &wasAnswered),
              kResultOk);
    EXPECT_EQ(wasAnswered, type != u"unwritten");
    EXPECT_EQ(wasAnswered, data != u"unwritten");
    return wasAnswered ? ToNarrow(type) + ": " + WithoutIndentation(ToNarrow(data)) : "";
  }

  const std::string kReply = "Answer: <Data><A/></Data>";
  const std::string reply = Frame("Answer", "<Data><A/></Data>", 9);
};

TEST_F(SendTest, AMessageGoesOutAtOnce) {
  window.StopTimer(kKeepAliveTimer);
  EXPECT_EQ(control->SendTLKMsg({u"T\u00E9\0x", 4}, {u"<a/>\0<", 6}), kResultOk);
  const auto message = Frame("T\xE9", "<Data><a/></Data>", 0, -1);
  EXPECT_EQ(Bare(sockets.sent), message);
  EXPECT_EQ(Look(), Gone(message) + kStands);
}

TEST_F(SendTest, AMessageThatCannotBeBuiltIsNotSent) {
  static struct final : DomFactory {
    DomResult NewDocument(std::unique_ptr<DomDocument>&) override { return kDomFailed; }
  } noDom;
  const ControlPorts without{sockets, window, platform, noDom, gate, log};
  control = std::make_unique<OpenControl>(without, events);
  EXPECT_EQ(control->SendTLKMsg(u"T", u""), kResultOk);
  EXPECT_EQ(Request(), "");
  const std::string refused = "E2 1027 Message could not be built. Not sent.\n|";
  EXPECT_EQ(Look(), refused + refused + kIsOver);
}

TEST_F(SendTest, WhatCannotGoOutStaysForTheNextConnection) {
  const std::pair<int, std::string> failures[] = {
      {10035, kStands},
      {10036, kStands},
      {10054, Ended(trace::kSendReset) + kIsOver},
      {10061, Ended(trace::kSendRefused) + kIsOver},
      {10053, Ended(trace::kSendAborted) + kIsOver},
      {10055, Ended(trace::kSendUnknown, "10055") + kIsOver}};
  const auto queued = ", queued " + kMessage;
  for (const auto& [error, look] : failures) {
    ConnectQuietly();
    SendInVain(error);
    EXPECT_EQ(Look(), look + queued);
    ConnectQuietly();
    sockets.Fail("Send", error);
    Notify(socket_event::kWrite);
    EXPECT_EQ(Look(), look + queued);
    ConnectQuietly();
    Notify(socket_event::kWrite);
    EXPECT_EQ(Look(), Gone(kMessage) + kStands);
  }
}

TEST_F(SendTest, APartThatIsTakenLeavesItsLastByte) {
  const std::pair<std::size_t, std::string> parts[] = {
      {0, ""}, {1, ", queued 0123456789"}, {2, ", queued 123456789"}, {9, ", queued 89"}};
  for (const auto& [taken, left] : parts) {
    control->m_pendingOut = "0123456789";
    sockets.TakeOnly(taken);
    Notify(socket_event::kWrite);
    EXPECT_EQ(Look(), kStands + left);
  }
}

TEST_F(SendTest, ARecordHasTheFirst8192BytesOfAText) {
  for (const std::size_t size : {8193U, 8192U, 1U}) {
    control->m_pendingOut.assign(size, 'x');
    Notify(socket_event::kWrite);
    EXPECT_EQ(Look(), Gone(std::string(std::min<std::size_t>(size, 8192), 'x')) + kStands);
  }
}

TEST_F(SendTest, WhatTheHostMaySendToAPeerThatNeverReadsHasALimit) {
  SendInVain();
  control->m_maxPendingOut = 2 * control->m_pendingOut.size();
  SendInVain();
  EXPECT_EQ(control->SendTLKMsg(u"T", u""), kResultOutOfMemory);
  EXPECT_EQ(Look(), kStands + ", queued " + kMessage + kMessage);
  Notify(socket_event::kWrite);
  EXPECT_EQ(Look(), Gone(kMessage + kMessage) + kStands);
}

TEST_F(SendTest, TheLongestMessageGoesBothWaysAndALongerOneNone) {
  const auto fill = [](std::size_t size) { return std::u16string(size, u'x'); };
  control->SendTLKMsg(u"T", u"<a>x</a>");
  const auto around = sockets.sent.size() - 1;
  events.told.clear();
  // Its stamp has a digit more, and makes it a byte longer.
  const auto tooLong = u"<a>" + fill(10'000'000 - around) + u"</a>";
  control->SendTLKMsg(u"T", tooLong);
  EXPECT_EQ(Request(tooLong), "");
  const std::string refused = "E2 1031 Message too long. Not sent. Length = 1000000";
  EXPECT_EQ(Look(), refused + "1|" + refused + "3|" + kStands);
  sockets.sent.clear();
  control->SendTLKMsg(u"T", u"<a>" + fill(9'999'999 - around) + u"</a>");
  EXPECT_EQ(sockets.sent.size(), 9'999'999U);
  Read(std::exchange(sockets.sent, ""));
  EXPECT_TRUE(events.told.ends_with("xx</a></Data>|"));
  EXPECT_EQ(control->m_recvText.capacity() + control->m_pendingOut.capacity(),
            2 * std::string().capacity());
}

TEST_F(SendTest, AnIdleConnectionIsKeptAliveEveryMinute) {
  const auto keepAlive = Frame("Keep Connection Alive", "", 0, -1);
  window.Advance(59'999);
  EXPECT_EQ(Look(), kStands);
  sockets.Fail("Send", socket_error::kWouldBlock);
  window.Advance(1);
  EXPECT_EQ(Look(), kStands + ", queued " + keepAlive);
  window.Advance(120'000);
  EXPECT_EQ(Look(), Gone(keepAlive + keepAlive) + Gone(keepAlive) + kStands);
  window.Advance(40'000);
  control->SendTLKMsg(u"T", u"");
  window.Advance(40'000);
  Read(Frame("Keep Connection Alive Response", "<Data/>"));
  window.Advance(59'999);
  EXPECT_EQ(Look(), Gone(kMessage) + kStands) << "the answer is no message";
  sockets.Fail("Send", socket_error::kConnectionReset);
  window.Advance(1);
  EXPECT_THAT(Look(), testing::StartsWith(Ended(trace::kSendReset) + kIsOver + ", queued"));
}

TEST_F(SendTest, TheFirstReceiverIsTheSenderAndNothingIsAnswered) {
  for (const int id : {7, 8}) {
    Read(Frame("Keep Connection Alive", "", id));
    control->SendTLKMsg(u"T", u"");
    EXPECT_EQ(Bare(std::exchange(sockets.sent, "")), Frame("T", "<Data/>", 0, 7));
  }
}

TEST_F(SendTest, ARequestTakesTheNextMessageForItsReply) {
  Read(reply.substr(0, 50));
  sockets.Arrive(Frame("Keep Connection Alive Response", "") + reply);
  sockets.calls.clear();
  EXPECT_EQ(Request(), "Keep Connection Alive Response: ");
  EXPECT_EQ(Look(), kStands);
  EXPECT_EQ(Bare(sockets.sent), Frame("Ask", "<Data><Q/></Data>", 0, -1));
  EXPECT_THAT(sockets.calls,
              testing::ElementsAre("RequestNotifications 0 0", "SetBlocking", "SetSendTimeout 250",
                                   "SetReceiveTimeout 250", "Send", "Receive 30", "Receive 87",
                                   "RequestNotifications 49443 51"));
  EXPECT_EQ(control->m_clientId, 7);
  Notify(socket_event::kRead);
  EXPECT_THAT(Look(), testing::HasSubstr("Answer: <Data><A/></Data>|"));
}

TEST_F(SendTest, AReplyMayComeInPiecesOfAnySize) {
  for (std::size_t size = 1; size < 40; ++size) {
    for (std::size_t at = 0; at < reply.size(); at += size) {
      sockets.Arrive(reply.substr(at, size) + '\0');
      sockets.Arrive("");
    }
    EXPECT_EQ(Request(), kReply) << "pieces of " << size;
    sockets.ForgetArrivals();
  }
}

TEST_F(SendTest, AReplyBelowThePrefixOrNoDocumentIsEmpty) {
  for (const std::string digits : {"0000001", "0000030", "12ab567"}) {
    sockets.Arrive("<TLK_Message Length=\"" + digits + "\" ");
    EXPECT_EQ(Request(), ": ");
    EXPECT_EQ(Look(), kStands);
  }
}

TEST_F(SendTest, AnExchangeThatFailsTellsOfEachStep) {
  // A step that fails does not stop the exchange: the later ones fail in turn, on no socket.
  const auto sendFails = Ended(trace::kBlockingSendFailed, "10038");
  const auto receiveLimitFails = Ended(trace::kReceiveTimeoutFailed, "10038") + sendFails;
  const auto sendLimitFails = Ended(trace::kSendTimeoutFailed, "10038") + receiveLimitFails;
  const auto readFails = Ended(trace::kBlockingReadFailed, "10054");
  // The call that fails, after how many of its kind go well, its error, and what is told.
  const std::tuple<const char*, std::size_t, int, std::string> failures[] = {
      {"RequestNotifications", 0, 10022, Ended(trace::kNotificationsOffFailed, "10022")},
      {"SetBlocking", 0, 10022, Ended(trace::kBlockingFailed, "10022") + sendLimitFails},
      {"SetSendTimeout", 0, 10042, Ended(trace::kSendTimeoutFailed, "10042") + receiveLimitFails},
      {"SetReceiveTimeout", 0, 10042, Ended(trace::kReceiveTimeoutFailed, "10042") + sendFails},
      {"Send", 0, 10060, Ended(trace::kBlockingSendFailed, "10060")},
      {"Receive", 0, 10054, Ended(trace::kBlockingPrefixFailed, "10054") + readFails},
      {"Receive", 1, 10054, Ended(trace::kBlockingBodyFailed, "10054") + readFails},
      {"RequestNotifications", 1, 10050, Ended(trace::kNotificationsOnFailed, "10050")}};
  for (const auto& [call, after, error, told] : failures) {
    sockets.Arrive(reply);
    sockets.Fail(call, error, after);
    EXPECT_EQ(Request(), error == 10050 ? kReply : "");
    EXPECT_EQ(Look(), told + kIsOver + ", keep-alive timer") << "which a request leaves alone";
    sockets.ForgetArrivals();
    ConnectQuietly();
  }
  sockets.Arrive("<TLK_Message Length=\"-000007\" ");
  EXPECT_EQ(Request(), "");
  EXPECT_EQ(Look(), "E2 857 Invalid Length. Closing connection. -7|" +
                        Ended(trace::kBlockingReadFailed, "10050") + kIsOver +
                        ", keep-alive timer");
}

}  // namespace tlk::test
