#include <random>

#include "tests/control/ControlFixture.h"
#include "transport/Framing.h"

namespace tlk::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

const std::string kReadFailed = "E2 352 Error Reading Message.\n";
const std::string kDroppedByHandler = "N0 359 Status changed. Disconnected.\n";

class ReceiveTest : public ControlFixture {
 protected:
  ReceiveTest() { ConnectQuietly(); }
};

struct Stamp {
  const char* text;
  std::int32_t length;
};

TEST(FramingTest, TheStampIsReadAsACProgramReadsIt) {
  const Stamp stamps[] = {
      {"<TLK_Message Length=\"0000098\" x", 98},
      {"<TLK_Message Length=\"9999999\"", 9999999},
      {"Length=\"0000001", 1},
      {"Length=\"000000", -1},
      {"Length=\"0000000\"", -1},
      {"Length=\"12ab567\"", 12},
      {"Length=\"abcdefg\"", -1},
      {"Length=\"-000005\"", -5},
      {"Length=\"  +0042\"", 42},
      {"Length=\"00000989\"", 98},
      {"Length='0000098'", -1},
      {"length=\"0000098\"", -1},
      {"", -1},
      {"Length=\"0000011\" Length=\"0000022\"", 11},
  };
  for (const auto& stamp : stamps) {
    EXPECT_EQ(GetMessageLength(stamp.text), stamp.length) << stamp.text;
  }
}

TEST_F(ReceiveTest, AMessageIsReadInTwoReceivesAndRaised) {
  const auto frame = Frame("Greeting", "<Data><A/></Data>");
  sockets.Arrive(frame);
  Notify(socket_event::kRead);
  EXPECT_THAT(timeline, ElementsAre("N0 1000 Message Recieved. Greeting\n",
                                    "event message [Greeting] [<Data><A/></Data>]"));
  EXPECT_THAT(sockets.receiveSizes, ElementsAre(30, static_cast<int>(frame.size()) - 30));
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));
  EXPECT_EQ(control->m_recvText, "");
  EXPECT_EQ(control->m_expectedLength, -1);
}

TEST_F(ReceiveTest, OneNotificationReadsOneMessage) {
  sockets.Arrive(Frame("First", "") + Frame("Second", ""));
  Notify(socket_event::kRead);
  EXPECT_THAT(timeline, testing::SizeIs(2));
  Notify(socket_event::kRead);
  EXPECT_THAT(timeline, Contains("event message [Second] []"));
}

TEST_F(ReceiveTest, PiecesOfAnySizeGiveTheSameMessages) {
  std::string stream;
  Timeline expected;
  for (int i = 0; i < 12; ++i) {
    const auto type = "T" + std::to_string(i);
    const auto data =
        "<Data>" + std::string(static_cast<std::size_t>(1 + i * i * 40), 'x') + "</Data>";
    stream += Frame(type, data);
    expected.emplace_back("event message [").append(type).append("] [").append(data) += "]";
  }
  std::mt19937 random(4711);
  for (int round = 0; round < 120; ++round) {
    timeline.clear();
    for (std::size_t at = 0; at < stream.size();) {
      const std::size_t largest =
          round < 45 ? static_cast<std::size_t>(round) + 1 : 1 + random() % 60;
      const auto piece = stream.substr(at, largest);
      at += piece.size();
      sockets.Arrive(piece);
      while (sockets.HasArrivals()) {
        Notify(socket_event::kRead);
      }
    }
    std::erase_if(timeline, [](const auto& entry) { return entry.rfind("event", 0) != 0; });
    ASSERT_THAT(timeline, ElementsAreArray(expected)) << "round " << round;
  }
}

TEST_F(ReceiveTest, AnIncompletePrefixIsWaitedFor) {
  const auto frame = Frame("Slow", "");
  for (const auto& piece : {frame.substr(0, 10), frame.substr(10, 10), frame.substr(20, 9)}) {
    sockets.Arrive(piece);
    Notify(socket_event::kRead);
  }
  EXPECT_THAT(timeline,
              ElementsAre("N0 746 Waiting for length.\n", "N0 746 Waiting for length.\n"));
  sockets.Arrive(frame.substr(29));
  Notify(socket_event::kRead);
  EXPECT_THAT(timeline, Contains("event message [Slow] []"));
  EXPECT_THAT(sockets.receiveSizes,
              ElementsAre(30, 20, 10, 1, static_cast<int>(frame.size()) - 30));
}

// A peer that announced the longest message and then dripped held ten megabytes for as long as it
// liked; twice that during each receive.
TEST_F(ReceiveTest, AnAnnouncedLengthHoldsNoMemoryForWhatHasNotCome) {
  ArriveAndRead("<TLK_Message Length=\"9999999\" " + std::string(10'000, 'x'));
  for (int i = 0; i < 100; ++i) {
    ArriveAndRead("x");
  }
  EXPECT_EQ(control->m_recvText.size(), 10'130U);
  EXPECT_LE(control->m_recvText.capacity(), 2 * control->m_recvText.size());
  EXPECT_EQ(sockets.receiveSizes.back(), 9'999'999 - 10'129);
}

TEST_F(ReceiveTest, TheLongestMessageIsReceived) {
  const std::size_t around = Frame("Long", "<Data></Data>").size();
  ArriveAndRead(Frame("Long", "<Data>" + std::string(kMaxMessageLength - around, 'x') + "</Data>"));
  ASSERT_EQ(timeline.size(), 2U);
  EXPECT_EQ(timeline.back().size(), std::string("event message [Long] []").size() +
                                        std::string("<Data></Data>").size() + kMaxMessageLength -
                                        around);
  EXPECT_EQ(control->m_recvText.capacity(), std::string().capacity());
}

TEST_F(ReceiveTest, APartSurvivesTheEndOfTheConnection) {
  const auto frame = Frame("Split", "");
  sockets.Arrive(frame.substr(0, 40));
  Notify(socket_event::kRead);
  control->Disconnect();
  ConnectQuietly();
  sockets.Arrive(frame.substr(40));
  Notify(socket_event::kRead);
  EXPECT_THAT(timeline, Contains("event message [Split] []"));
}

// Where a message stands when something happens.
struct Stage {
  const char* name;
  std::size_t held;
  Timeline onError;   // 10054 from the receive
  bool blockedDrops;  // a notification with nothing behind it ends the connection
};

const Stage kStages[] = {
    {"Idle", 0, Failures("E2 675 Recv Err. Closing connection. Err Num = 10054>680"), false},
    {"Prefix", 12, Failures("E2 728 Recv failed. Closing connection. Err Num = 10054>733"), true},
    {"Body", 45, Failures("E2 777 Recv Err. Closing connection. Err Num = 10054>782"), false},
};

class StageTest : public ReceiveTest, public testing::WithParamInterface<Stage> {
 protected:
  StageTest() {
    if (GetParam().held > 0) {
      sockets.Arrive(Frame("Type", "").substr(0, GetParam().held));
      Notify(socket_event::kRead);
    }
    timeline.clear();
  }
};

TEST_P(StageTest, AReceiveErrorIsAnnouncedTwice) {
  sockets.ArriveError(socket_error::kConnectionReset);
  Notify(socket_event::kRead);
  auto expected = GetParam().onError;
  expected.insert(expected.end(), {kReadFailed, kDroppedByHandler, "event status 0"});
  EXPECT_THAT(timeline, ElementsAreArray(expected));
  EXPECT_EQ(control->m_recvText, "");
  EXPECT_EQ(control->m_expectedLength, -1);
  EXPECT_EQ(sockets.OpenCount(), 0U);
  EXPECT_FALSE(window.Runs(kKeepAliveTimer));
}

TEST_P(StageTest, WouldBlockDropsOnlyInAPrefix) {
  const auto held = control->m_recvText;
  Notify(socket_event::kRead);
  if (GetParam().blockedDrops) {
    EXPECT_THAT(timeline, ElementsAre(kReadFailed, kDroppedByHandler, "event status 0"));
  } else {
    EXPECT_THAT(timeline, IsEmpty());
    EXPECT_TRUE(window.Runs(kKeepAliveTimer));
  }
  EXPECT_EQ(control->m_recvText, held);
}

INSTANTIATE_TEST_SUITE_P(Stages, StageTest, testing::ValuesIn(kStages),
                         [](const auto& test) { return test.param.name; });

struct BadPrefix {
  const char* name;
  std::string bytes;
  std::string number;
};

class BadPrefixTest : public ReceiveTest, public testing::WithParamInterface<BadPrefix> {};

TEST_P(BadPrefixTest, EndsTheConnectionOnce) {
  sockets.Arrive(GetParam().bytes);
  Notify(socket_event::kRead);
  EXPECT_THAT(timeline,
              ElementsAre("E2 704 Invalid Length. Closing connection. " + GetParam().number,
                          kReadFailed, kDroppedByHandler, "event status 0"));
  EXPECT_EQ(control->m_recvText, "");
}

TEST_P(BadPrefixTest, InPiecesHasItsOwnRecord) {
  for (const char byte : GetParam().bytes.substr(0, 30)) {
    sockets.Arrive(std::string(1, byte));
    Notify(socket_event::kRead);
  }
  EXPECT_THAT(timeline, Contains("E2 756 Invalid Length. " + GetParam().number));
  EXPECT_EQ(control->m_status, TLK_Not_Connected);
}

INSTANTIATE_TEST_SUITE_P(
    Stamps, BadPrefixTest,
    testing::Values(BadPrefix{"NoMarker", "<TLK_Message Type=\"Greeting\" Le", "-1"},
                    BadPrefix{"TooLate", "<?xml version=\"1.0\"?><TLK_Message", "-1"},
                    BadPrefix{"Zero", "<TLK_Message Length=\"0000000\" xmlns", "-1"},
                    BadPrefix{"Letters", "<TLK_Message Length=\"abcdefg\" xmlns", "-1"},
                    BadPrefix{"Negative", "<TLK_Message Length=\"-000123\" xmlns", "-123"}),
    [](const auto& test) { return test.param.name; });

TEST_F(ReceiveTest, AStampBelowThePrefixEndsInAReceiveError) {
  for (const std::string digits : {"0000012", "12ab567", "0000029"}) {
    timeline.clear();
    sockets.receiveSizes.clear();
    sockets.Arrive("<TLK_Message Length=\"" + digits + "\" ");
    Notify(socket_event::kRead);
    EXPECT_THAT(timeline, ElementsAre("E2 777 Recv Err. Closing connection. Err Num = 10014",
                                      "N0 782 Status changed. Disconnected.\n", "event status 0",
                                      kReadFailed, kDroppedByHandler, "event status 0"));
    ASSERT_EQ(sockets.receiveSizes.size(), 2U);
    EXPECT_LT(sockets.receiveSizes.back(), 0);
    ConnectQuietly();
  }
}

TEST_F(ReceiveTest, AZeroByteLosesTheRestOfItsRead) {
  auto frame = Frame("Zero", "<Data>abcdefghij</Data>");
  const auto zero = frame.find("abcdef");
  frame[zero] = '\0';
  sockets.Arrive(frame);
  Notify(socket_event::kRead);
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_EQ(control->m_recvText, frame.substr(0, zero));
  EXPECT_EQ(control->m_expectedLength, static_cast<std::int32_t>(frame.size()));
}

TEST_F(ReceiveTest, TextThatIsNoDocumentIsDroppedAndTheNextOneRead) {
  ArriveAndRead(Frame(" Type=\"Broken\"><Data></TLK_Message>") + Frame("Good", ""));
  EXPECT_THAT(timeline, ElementsAre("N0 1000 Message Recieved. Good\n", "event message [Good] []"));
}

// A body at the limit of depth was sent, but a control that received it dropped the message.
TEST_F(ReceiveTest, WhatOneControlMaySendAnotherReceives) {
  const auto nested = [](std::size_t depth) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) text += "<a>";
    for (std::size_t i = 0; i < depth; ++i) text += "</a>";
    return text;
  };
  const auto deepest = nested(kDeepestBody);
  control->SendTLKMsg(u"Deep", std::u16string(deepest.begin(), deepest.end()));
  ArriveAndRead(sockets.sent);
  ASSERT_EQ(timeline.size(), 3U);
  EXPECT_THAT(timeline.back(), testing::AllOf(testing::StartsWith("event message [Deep] [<Data>"),
                                              testing::HasSubstr("</a>")));

  timeline.clear();
  ArriveAndRead(Frame("Deeper", "<Data>" + nested(kMaxXmlDepth + 1) + "</Data>"));
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_EQ(control->m_status, TLK_Connected);
}

TEST_F(ReceiveTest, AMessageIsRaisedWithWhatItHas) {
  const std::pair<std::string, std::string> cases[] = {
      {Frame("><From Id=\"0\"/><To Id=\"1\"/><Data/>"), "event message [] [<Data/>]"},
      {Frame(" Type=\"Bare\">"), "event message [Bare] []"},
      {Frame(" Type=\"keep connection alive response\">"),
       "event message [keep connection alive response] []"},
      {Frame("Two", "<Data>1</Data><Data>2</Data>"), "event message [Two] [<Data>1</Data>]"},
      {Frame("Deep", "<X><Data>no</Data></X>"), "event message [Deep] []"},
  };
  for (const auto& [frame, expected] : cases) {
    timeline.clear();
    ArriveAndRead(frame);
    ASSERT_EQ(timeline.size(), 2U) << expected;
    EXPECT_EQ(timeline[1], expected);
  }
}

TEST_F(ReceiveTest, TheFirstReceiverIdIsLearnedForGood) {
  EXPECT_EQ(control->m_clientId, -1);
  ArriveAndRead(Frame(" Type=\"No receiver\">"));
  EXPECT_EQ(control->m_clientId, -1);
  ArriveAndRead(Frame("Keep Connection Alive Response", "", 42));
  EXPECT_EQ(control->m_clientId, 42);
  ArriveAndRead(Frame("Other", "", 43));
  control->Disconnect();
  ConnectQuietly();
  ArriveAndRead(Frame("Other", "", 44));
  EXPECT_EQ(control->m_clientId, 42);
}

TEST_F(ReceiveTest, TheAnswerToAKeepAliveIsSwallowed) {
  ArriveAndRead(Frame("Keep Connection Alive Response", "<Data>x</Data>"));
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_TRUE(window.Runs(kKeepAliveTimer));
}

TEST_F(ReceiveTest, AMessageInsideAMessageHandlerIsSkipped) {
  events.onMessage = [this] {
    events.onMessage = nullptr;
    Notify(socket_event::kRead);
    timeline.emplace_back("handler ends");
  };
  sockets.Arrive(Frame("Outer", "") + Frame("Inner", "") + Frame("Later", ""));
  Notify(socket_event::kRead);
  Notify(socket_event::kRead);
  EXPECT_THAT(timeline,
              ElementsAre("N0 1000 Message Recieved. Outer\n", "event message [Outer] []",
                          "N0 1009 Message Skipped. Inner\n", "handler ends",
                          "N0 1000 Message Recieved. Later\n", "event message [Later] []"));
}

TEST_F(ReceiveTest, APartReadInsideAMessageHandlerIsNotLost) {
  const auto inner = Frame("Inner", "");
  events.onMessage = [&] {
    events.onMessage = nullptr;
    Notify(socket_event::kRead);
  };
  sockets.Arrive(Frame("Outer", ""));
  sockets.Arrive(inner.substr(0, 50));
  Notify(socket_event::kRead);
  timeline.clear();
  sockets.Arrive(inner.substr(50));
  Notify(socket_event::kRead);
  EXPECT_THAT(timeline,
              ElementsAre("N0 1000 Message Recieved. Inner\n", "event message [Inner] []"));
}

TEST_F(ReceiveTest, DisconnectInsideAMessageHandler) {
  events.onMessage = [this] { control->Disconnect(); };
  ArriveAndRead(Frame("Last", ""));
  EXPECT_THAT(timeline, ElementsAre("N0 1000 Message Recieved. Last\n", "event message [Last] []",
                                    "N0 68 Disconnect requested.",
                                    "N0 76 Status changed. Disconnected.\n", "event status 0"));
  EXPECT_EQ(control->m_recvText, "");
}

TEST_F(ReceiveTest, AStatusInsideAStatusHandlerIsNotAnnounced) {
  events.onStatus = [this] {
    ConnectQuietly();
    sockets.ArriveError(socket_error::kConnectionAborted);
    Notify(socket_event::kRead);
  };
  Notify(socket_event::kClose);
  EXPECT_THAT(timeline,
              ElementsAre("E2 675 Recv Err. Closing connection. Err Num = 10053", kReadFailed));
  EXPECT_EQ(control->m_status, TLK_Not_Connected);
}

}  // namespace
}  // namespace tlk::test
