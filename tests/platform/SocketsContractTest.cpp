// What every platform's sockets and control windows hold to.
#include <string>

#include "tests/platform/SocketsFixture.h"

namespace tlk {
namespace {

struct Script {
  const char* name;
  const char* steps;
};

using SocketsContract = SocketsFixture;
class SocketScript : public SocketsFixture, public testing::WithParamInterface<Script> {};

TEST_P(SocketScript, Holds) { Play(GetParam().steps); }

// 51 asks for everything, 1 for read, 2 for write, 32 for close.
constexpr Script kScripts[] = {
    {"ReadIsToldOnceUntilAReceive",
     "connect; request 51; told write; send abcdef; told read; send ghi; told; receive 2 = ab;"
     "told read; receive 100 = cdefghi; told"},
    {"AReceiveGivesWhatWaitsHoweverItCame",
     "connect; request 51; told write; send abc; told read; receive 1 = a; send def; told read;"
     "receive 0; told read; receive 100 = bcdef; receive 1 = error 10035"},
    {"WhatIsLeftIsThereInEitherMode",
     "connect; request 51; told write; send abcde; told read; receive 1 = a; request 0; told;"
     "block; receive 2 = bc; request 1; told read; receive 100 = de"},
    {"WhatIsLeftGoesWithTheSocket",  // Mostly the next one gets its number.
     "connect; request 51; told write; send abc; told read; receive 1 = a; close;"
     "connect; request 1; told; receive 1 = error 10035"},
    {"CloseIsToldOnceAndAfterTheBytes",
     "connect; request 51; told write; send last-words; end; told read; receive 5 = last-;"
     "told read; receive 50 = words; told close; receive 1; told; request 1; told"},
    {"AResetIsToldWithItsNumber", "connect; request 51; told write; reset; told close:10054"},
    {"AResetIsToldBehindTheBytesBeforeIt",
     "connect; request 51; told write; send abc; told read; reset; receive 2 = ab; told read;"
     "receive 2 = c; told close:10054; told"},
    {"AResetIsMetByWhoeverReadsOn",
     "connect; request 51; told write; send abc; told read; receive 1 = a; reset; told read;"
     "receive 9 = bc; receive 9 = error 10054"},
    {"AResetEndsABlockingReceive", "connect; reset; receive 1 = error 10054"},
    {"OnlyWhatWasAskedForIsTold",
     "connect; request 33; told; send abc; told read; request 2; told write; receive 9 = abc;"
     "request 32; send d; told; end; told; receive 1 = d; told close"},
    {"NothingIsToldAfterMaskZeroOrClose",
     "connect; request 51; told write; request 0; send unheard; told; request 51; close; told"},
    {"ARequestTellsAnewWhatStillHolds",
     "connect; request 2; request 2; told write; request 33; send abc; told read; request 33;"
     "told read; request 33; request 33; told read"},
    {"AHandlerMayCloseTheSocketAndDestroyTheWindow",
     "connect; request 51; told write; send x; when-told close, destroy; told read"},
    {"AHandlerMayRunTheLoop",
     "connect; request 51; told write; send ab; when-told receive 1 = a, told read read; handled;"
     "receive 1 = b; told"},
    {"AHandlerThatRunsTheLoopKeepsNoFirstWriteBack",
     "connect; request 2; connect; request 2; when-told told write write; handled; told"},
    {"ATimerRunsOnUntilItIsStopped",
     "stop 8; start 7; start 7; when-told; handled; when-told stop 7; handled;"
     "told timer:7 timer:7; start 7; when-told stop 7; told timer:7"},
    {"ATimerHandlerMayDestroyItsWindow",
     "start 1; start 2; when-told destroy; handled; told timer:1"},
    {"ABlockingReceiveEnds",
     "connect; limit 30; receive 1 = error 10060; send abc; receive 2 = ab; request 51;"
     "block = error 10022; receive 1 = c; request 0; receive 1 = error 10035; block;"
     "receive 1 = error 10060; end; receive 0; receive 1; receive 1 = error 10101"},
    {"ABlockingSendRunsIntoItsLimit", "connect; limit-say 50; fill = error 10060; reset"},
    {"ASendSaysHowMuchItTook",
     "connect; keep-alive; say abc = 3; say; heard 9 = abc; request 51; say defg = 4; heard 3 = "
     "def;"
     "heard 9 = g"},
    {"WriteIsToldWhenRoomComesBack",
     "connect; request 51; told write; fill = error 10035; told; request 51; told; drain;"
     "told write; say y = 1; told; heard 2 = y"},
    {"AHandlerMayCloseWhenRoomComesBack",
     "connect; request 51; told write; fill = error 10035; when-told close; drain; handled;"
     "told write"},
    {"NothingIsDoneWithAClosedSocket",
     "connect; close; try = error 10038; say x = error 10038; receive 1 = error 10038;"
     "close = error 10038; keep-alive = error 10038; block = error 10038; limit 1 = error 10038;"
     "limit-say 1 = error 10038; request 1 = error 10038; none; say x = error 10038"},
    {"NothingGoesThroughAnUnconnectedSocket",
     "open; say x = error 10057; receive 1 = error 10057; deaf; try = error 10061;"
     "say x = error 10057"},
    {"ABufferIsNeverOverrun",
     "connect; send abc; receive -1 = error 10014; receive 201 = error 10014; receive 200 = abc"},
};

INSTANTIATE_TEST_SUITE_P(SocketsContract, SocketScript, testing::ValuesIn(kScripts),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(SocketsContract, BytesTakenMeanwhileAreNotTold) {
  const auto first = ConnectQuietly();
  LoopbackPeer otherPeer;
  const auto second = Connect(otherPeer);
  ASSERT_EQ(Request(second, socket_event::kRead), 0);
  target.onTold = [&] {
    for (const auto each : {first, second}) Receive(each, 10);
  };
  peer.Send("a");
  otherPeer.Send("b");
  ExpectTold("read");
}

TEST_F(SocketsContract, AddressesAndNames) {
  EXPECT_EQ(sockets.ParseAddress("127.0.0.1"), htonl(INADDR_LOOPBACK));
  for (const char* none : {"255.255.255.255", "localhost"})
    EXPECT_EQ(sockets.ParseAddress(none), kNoAddress);
  EXPECT_EQ(sockets.ResolveHost("localhost"), htonl(INADDR_LOOPBACK));
  EXPECT_EQ(sockets.ResolveHost("no-such-host.invalid"), std::nullopt);
  EXPECT_THAT(sockets.LastError(), testing::AnyOf(11001, 11002));
  MessageWindow otherWindow(loop);
  EXPECT_EQ(window->RegisterMessage("one"), otherWindow.RegisterMessage("one"));
  EXPECT_NE(window->RegisterMessage("one"), window->RegisterMessage("two"));
}

}  // namespace
}  // namespace tlk
