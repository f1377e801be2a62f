#include "tests/control/ControlFixture.h"

namespace tlk::test {

/// What is told, and how things stand, when a message could not be read.
const std::string kNotRead = Ended(trace::kReadFailed) + kIsOver;

/// What is told of a message that came.
std::string Heard(const std::string& type, const std::string& data = "") {
  return "N0 1000 Message Recieved. " + type + "\n|" + type + ": " + data + "|";
}

struct ReceiveTest : ControlFixture {
  ReceiveTest() { ConnectQuietly(); }

  const std::string message = Frame("Type", "<Data>text</Data>");
  const std::string heard = Heard("Type", "<Data>text</Data>");
};

TEST(FramingTest, TheStampIsReadAsACProgramReadsIt) {
  const std::pair<std::string, int> stamps[] = {
      {"9999999\" x", 9999999}, {"0000001", 1},    {"000001", -1},    {"0000000\"", -1},
      {"12ab567\"", 12},        {"-000005\"", -5}, {"  +0042\"", 42}, {"00000989\"", 98}};
  for (const auto& [stamp, length] : stamps)
    EXPECT_EQ(GetMessageLength("Length=\"" + stamp), length) << stamp;
  EXPECT_EQ(GetMessageLength("length=\"0000098\" Length=\"0000011\" Length=\"0000022\""), 11);
  EXPECT_EQ(GetMessageLength(""), -1);
}

TEST_F(ReceiveTest, ANotificationReadsOneMessageInTwoReceives) {
  sockets.Arrive(message + Frame("Second", ""));
  Notify(socket_event::kRead);
  EXPECT_EQ(Look(), heard + kStands);
  EXPECT_THAT(sockets.calls, testing::IsSupersetOf({"Receive 30", "Receive 78"}));
  Notify(socket_event::kRead);
  EXPECT_EQ(Look(), Heard("Second") + kStands);
}

TEST_F(ReceiveTest, PiecesOfAnySizeAreTheSameMessage) {
  const auto whole = heard + kStands;
  for (std::size_t size = 1; size < 60; ++size) {
    std::string waits;
    for (auto held = 2 * size; held < 30; held += size) waits += "N0 746 Waiting for length.\n|";
    for (std::size_t at = 0; at < message.size(); at += size) Read(message.substr(at, size));
    EXPECT_EQ(Look(), waits + whole) << "pieces of " << size;
  }
}

// A peer that announced the longest message and then dripped held ten megabytes for as long as it
// liked; twice that during each receive.
TEST_F(ReceiveTest, AnAnnouncedLengthHoldsNoMemoryForWhatHasNotCome) {
  Read("<TLK_Message Length=\"9999999\" " + std::string(10'000, 'x'));
  for (int i = 0; i < 100; ++i) Read("x");
  EXPECT_EQ(Look(), kStands + ", holds 10130 of 9999999");
  EXPECT_LE(control->m_recvText.capacity(), 2 * control->m_recvText.size());
  EXPECT_EQ(sockets.calls.back(), "Receive 9989870");
}

TEST_F(ReceiveTest, AReceiveThatFailsIsToldTwice) {
  // How much of the message is there, how things stand after a notification that has nothing behind
  // it, and what is told of an error.
  const std::tuple<std::size_t, std::string, std::string> stages[] = {
      {0, kStands, Ended(trace::kReceiveFailed, "10054")},
      {29, kNotRead + ", holds 29 of -1", Ended(trace::kPrefixFailed, "10054")},
      {45, kStands + ", holds 45 of 108", Ended(trace::kBodyFailed, "10054")}};
  for (const auto& [held, blocked, told] : stages) {
    Read(message.substr(0, held));
    Notify(socket_event::kRead);
    EXPECT_EQ(Look(), blocked);
    ConnectQuietly();
    sockets.ArriveError(socket_error::kConnectionReset);
    Notify(socket_event::kRead);
    EXPECT_EQ(Look(), told + kNotRead);
    ConnectQuietly();
  }
}

TEST_F(ReceiveTest, AStampThatCannotBeTrueEndsTheConnection) {
  // The first piece of a prefix, the rest, and what is told. The socket refuses to read less than
  // nothing.
  const auto below = Ended(trace::kBodyFailed, "10014");
  const std::tuple<std::string, std::string, std::string> prefixes[] = {
      {"<TLK_Message Type=\"Greeting\" L", "", "E2 704 Invalid Length. Closing connection. -1|"},
      {"<TLK_Message Length=\"-000123\" ", "", "E2 704 Invalid Length. Closing connection. -123|"},
      {"<TLK_Message Length=\"-000123\"", " ", "E2 756 Invalid Length. -123|"},
      {"<TLK_Message Length=\"0000001\" ", "", below},
      {"<TLK_Message Length=\"0000029\" ", "", below}};
  for (const auto& [first, rest, told] : prefixes) {
    Read(first);
    if (!rest.empty()) Read(rest);
    EXPECT_EQ(Look(), told + kNotRead);
    ConnectQuietly();
  }
  Read("<TLK_Message Length=\"0000030\" ");
  EXPECT_EQ(Look(), kStands) << "a whole message, but no document";
}

// A body at the limit of depth was sent, but a control that received it dropped the message.
TEST_F(ReceiveTest, WhatOneControlMaySendAnotherReceives) {
  std::string body = "<a/>";
  for (std::size_t depth = 1; depth < kDeepestBody; ++depth) body.insert(0, "<a>").append("</a>");
  control->SendTLKMsg(u"Deep", std::u16string(body.begin(), body.end()));
  events.told.clear();
  Read(sockets.sent);
  EXPECT_EQ(Look(), Heard("Deep", "<Data>" + body + "</Data>") + kStands);
  Read(Frame("Deeper", "<Data><a><a><a>" + body + "</a></a></a></Data>"));
  EXPECT_EQ(Look(), kStands);
}

TEST_F(ReceiveTest, AMessageInsideAMessageHandlerIsSkippedAndADisconnectIsNot) {
  events.onMessage = [this] {
    Notify(socket_event::kRead);
    Notify(socket_event::kRead);
    events.told += "handler ends|";
  };
  sockets.Arrive(Frame("Outer", "") + Frame("Inner", ""));
  sockets.Arrive(message.substr(0, 50));
  Notify(socket_event::kRead);
  EXPECT_EQ(Look(), Heard("Outer") + "N0 1009 Message Skipped. Inner\n|handler ends|" + kStands +
                        ", holds 50 of 108");
  events.onMessage = [this] { control->Disconnect(); };
  Read(message.substr(50));
  EXPECT_EQ(Look(),
            heard + Ended("N0 68 Disconnect requested.", 76) + kIsOver + ", keep-alive timer");
}

}  // namespace tlk::test
