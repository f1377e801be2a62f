// What every platform's sockets and control windows hold to.
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/SocketsFixture.h"

namespace tlk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using SocketsContract = SocketsFixture;

TEST_F(SocketsContract, ReadIsToldOnceUntilAReceive) {
  const auto socket = ConnectQuietly();
  peer.Send("abcdef");
  Told(1);
  peer.Send("ghi");
  EXPECT_THAT(Told(1), ElementsAre("read"));
  EXPECT_EQ(Receive(socket, 2), "ab");
  EXPECT_THAT(Told(2), ElementsAre("read", "read"));
  EXPECT_EQ(Receive(socket, 100), "cdefghi");
  EXPECT_THAT(Told(2), ElementsAre("read", "read"));
}

TEST_F(SocketsContract, ReadIsNeverToldWhenNothingWaits) {
  const auto socket = ConnectQuietly();
  std::string received;
  // Two receives for a notification, as a reader makes them: prefix, then body.
  target.onTold = [&] {
    for (const int size : {3, 5}) received += Receive(socket, size);
  };
  std::string sent;
  for (int i = 0; i < 200; ++i) {
    peer.Send("12345678");
    sent += "12345678";
    if (i % 3 == 0) loop.DispatchOnce(0);
  }
  RunUntil([&] { return received.size() >= sent.size(); });
  EXPECT_EQ(received, sent);
}

TEST_F(SocketsContract, AReceiveGivesWhatWaitsHoweverItCame) {
  const auto socket = ConnectQuietly();
  peer.Send("abc");
  Told(1);
  EXPECT_EQ(Receive(socket, 1), "a");
  peer.Send("def");
  EXPECT_THAT(Told(2), ElementsAre("read", "read"));
  EXPECT_EQ(Receive(socket, 100), "bcdef");
  EXPECT_EQ(Receive(socket, 1), "error 10035");
}

TEST_F(SocketsContract, WhatIsLeftIsThereInEitherMode) {
  const auto socket = ConnectQuietly();
  peer.Send("abcde");
  Told(1);
  EXPECT_EQ(Receive(socket, 1), "a");
  ASSERT_EQ(Request(socket, 0), 0);
  EXPECT_THAT(Told(1), ElementsAre("read"));
  ASSERT_EQ(sockets.SetBlocking(socket), 0);
  EXPECT_EQ(Receive(socket, 2), "bc");
  ASSERT_EQ(Request(socket, socket_event::kRead), 0);
  EXPECT_THAT(Told(2), ElementsAre("read", "read"));
  EXPECT_EQ(Receive(socket, 100), "de");
}

TEST_F(SocketsContract, WhatIsLeftGoesWithTheSocket) {
  const auto first = ConnectQuietly();
  peer.Send("abc");
  Told(1);
  EXPECT_EQ(Receive(first, 1), "a");
  EXPECT_EQ(sockets.Close(first), 0);
  // Mostly it gets the number of the first.
  const auto second = Connect(peer);
  ASSERT_EQ(Request(second, socket_event::kRead), 0);
  EXPECT_THAT(Told(1), ElementsAre("read"));
  EXPECT_EQ(Receive(second, 1), "error 10035");
}

TEST_F(SocketsContract, BytesTakenMeanwhileAreNotTold) {
  const auto first = ConnectQuietly();
  LoopbackPeer otherPeer;
  const auto second = Connect(otherPeer);
  ASSERT_EQ(Request(second, socket_event::kRead), 0);
  target.onTold = [&] {
    for (const auto socket : {first, second}) Receive(socket, 10);
  };
  peer.Send("a");
  otherPeer.Send("b");
  EXPECT_THAT(Told(1), ElementsAre("read"));
}

TEST_F(SocketsContract, WriteIsToldOnRequestAndWhenRoomComesBack) {
  const auto socket = Connect(peer);
  ASSERT_EQ(Request(socket, socket_event::kAll), 0);
  EXPECT_THAT(target.told, IsEmpty()) << "told inside the request";
  EXPECT_THAT(Told(1), ElementsAre("write"));

  const std::string block(1 << 20, 'x');
  std::size_t sent = 0;
  while (sockets.Send(socket, block) == static_cast<int>(block.size())) {
    sent += block.size();
    ASSERT_LT(sent, std::size_t{1} << 30);
  }
  EXPECT_EQ(sockets.LastError(), socket_error::kWouldBlock);
  EXPECT_THAT(Told(1), ElementsAre("write"));

  std::size_t read = 0;
  RunUntil([&] { return (read += peer.ReadSome(block.size()).size()) == sent; });
  EXPECT_THAT(Told(2), ElementsAre("write", "write"));
}

TEST_F(SocketsContract, WhatASendTookGoesOutAfterClose) {
  const auto socket = ConnectQuietly();
  const std::string large(8'000'000, 'y');
  ASSERT_EQ(sockets.Send(socket, large), static_cast<int>(large.size()));
  std::atomic<std::size_t> read = 0;
  std::jthread reader([&](const std::stop_token& stop) {
    while (read < large.size() && !stop.stop_requested()) read += peer.ReadSome(1 << 20).size();
  });
  EXPECT_EQ(sockets.Close(socket), 0);
  RunUntil([&] { return read == large.size(); });
  EXPECT_THAT(Told(0), IsEmpty());
}

TEST_F(SocketsContract, CloseIsToldOnceAndAfterTheBytes) {
  const auto socket = ConnectQuietly();
  peer.Send("last words");
  peer.Close();
  EXPECT_THAT(Told(1), ElementsAre("read"));
  EXPECT_EQ(Receive(socket, 5), "last ");
  EXPECT_THAT(Told(2), ElementsAre("read", "read"));
  EXPECT_EQ(Receive(socket, 50), "words");
  EXPECT_THAT(Told(3), ElementsAre("read", "read", "close"));
}

TEST_F(SocketsContract, AResetIsToldWithItsNumber) {
  ConnectQuietly();
  peer.Reset();
  EXPECT_THAT(Told(1), ElementsAre("close 10054"));
}

TEST_F(SocketsContract, NothingIsToldAfterMaskZeroOrClose) {
  const auto socket = ConnectQuietly();
  ASSERT_EQ(Request(socket, 0), 0);
  peer.Send("unheard");
  EXPECT_THAT(Told(0), IsEmpty());
  ASSERT_EQ(Request(socket, socket_event::kAll), 0);
  EXPECT_EQ(sockets.Close(socket), 0);
  EXPECT_THAT(Told(0), IsEmpty());
}

TEST_F(SocketsContract, AHandlerMayCloseTheSocketAndDestroyTheWindow) {
  ConnectQuietly();
  target.onTold = [&] {
    EXPECT_EQ(sockets.Close(target.socket), 0);
    window.reset();
  };
  peer.Send("x");
  EXPECT_THAT(Told(1), ElementsAre("read"));
}

TEST_F(SocketsContract, AHandlerMayRunTheLoop) {
  const auto socket = ConnectQuietly();
  target.onTold = [&] {
    target.onTold = nullptr;
    EXPECT_EQ(Receive(socket, 1), "a");
    Told(2);
    target.told.emplace_back("outer ends");
  };
  peer.Send("ab");
  EXPECT_THAT(Told(3), ElementsAre("read", "read", "outer ends"));
}

TEST_F(SocketsContract, AHandlerThatRunsTheLoopKeepsNoFirstWriteBack) {
  for (const auto socket : {Connect(peer), Connect(peer)}) {
    ASSERT_EQ(Request(socket, socket_event::kWrite), 0);
  }
  target.onTold = [&] {
    target.onTold = nullptr;
    Told(2);
    target.told.emplace_back("outer ends");
  };
  EXPECT_THAT(Told(3), ElementsAre("write", "write", "outer ends"));
}

TEST_F(SocketsContract, BlockingReceiveAndItsEnds) {
  const auto socket = Connect(peer);
  ASSERT_EQ(sockets.SetReceiveTimeout(socket, 30), 0);
  EXPECT_EQ(Receive(socket, 1), "error 10060");
  peer.Send("abc");
  EXPECT_EQ(Receive(socket, 2), "ab");

  ASSERT_EQ(Request(socket, socket_event::kAll), 0);
  EXPECT_EQ(sockets.SetBlocking(socket), kSocketError);
  EXPECT_EQ(sockets.LastError(), socket_error::kInvalidArgument);
  EXPECT_EQ(Receive(socket, 1), "c");
  ASSERT_EQ(Request(socket, 0), 0);
  EXPECT_EQ(Receive(socket, 1), "error 10035") << "still not blocking";
  ASSERT_EQ(sockets.SetBlocking(socket), 0);
  EXPECT_EQ(Receive(socket, 1), "error 10060");

  peer.Close();
  EXPECT_EQ(Receive(socket, 1), "");
  EXPECT_EQ(Receive(socket, 1), "error 10101") << "reading on after the end goes on for ever";
}

TEST_F(SocketsContract, BlockingSendRunsIntoItsLimit) {
  const auto socket = Connect(peer);
  ASSERT_EQ(sockets.SetSendTimeout(socket, 50), 0);
  const std::string block(8 << 20, 'x');
  int result = 0;
  for (int i = 0; i < 100 && result != kSocketError; ++i) result = sockets.Send(socket, block);
  EXPECT_EQ(result, kSocketError);
  EXPECT_EQ(sockets.LastError(), socket_error::kTimedOut);
  peer.Reset();
}

TEST_F(SocketsContract, CallsThatCannotSucceedTellWhy) {
  AbsentWindow absent;
  std::string room = "1234";
  using Call = std::function<int(SocketHandle)>;
  const auto expectFailures = [&](SocketHandle socket, int error, const std::vector<Call>& calls) {
    for (std::size_t i = 0; i < calls.size(); ++i) {
      EXPECT_EQ(calls[i](socket), kSocketError) << "call " << i;
      EXPECT_EQ(sockets.LastError(), error) << "call " << i;
    }
  };
  const Call receive = [&](SocketHandle s) { return sockets.Receive(s, room, 1); };
  const Call connect = [&](SocketHandle s) { return sockets.Connect(s, peer.Address()); };
  const Call send = [&](SocketHandle s) { return sockets.Send(s, "x"); };

  const auto closed = sockets.Open();
  sockets.Close(closed);
  for (const auto none : {kInvalidSocket, closed}) {
    expectFailures(none, socket_error::kNotASocket,
                   {connect, receive, send, [&](auto s) { return sockets.Close(s); },
                    [&](auto s) { return sockets.EnableKeepAlive(s); },
                    [&](auto s) { return sockets.SetBlocking(s); },
                    [&](auto s) { return sockets.SetSendTimeout(s, 1); },
                    [&](auto s) { return sockets.SetReceiveTimeout(s, 1); },
                    [&](auto s) { return Request(s, 1); }});
  }
  expectFailures(sockets.Open(), socket_error::kNotConnected, {send, receive});
  const auto open = Connect(peer);
  peer.Send("abcdef");
  expectFailures(open, socket_error::kFault,
                 {[&](auto s) { return sockets.Receive(s, room, -30); },
                  [&](auto s) { return sockets.Receive(s, room, 5); }});
  EXPECT_EQ(room, "1234");
  expectFailures(open, socket_error::kInvalidArgument, {[&](auto s) {
                   return sockets.RequestNotifications(s, absent, target.registered, 1);
                 }});
  peer.StopListening();
  expectFailures(sockets.Open(), socket_error::kConnectionRefused, {connect});
}

TEST_F(SocketsContract, AddressesAndNames) {
  EXPECT_EQ(sockets.ParseAddress("127.0.0.1"), htonl(INADDR_LOOPBACK));
  EXPECT_EQ(sockets.ParseAddress("255.255.255.255"), kNoAddress);
  EXPECT_EQ(sockets.ParseAddress("localhost"), kNoAddress);
  EXPECT_EQ(sockets.ResolveHost("localhost"), htonl(INADDR_LOOPBACK));
  EXPECT_EQ(sockets.ResolveHost("no-such-host.invalid"), std::nullopt);
  MessageWindow otherWindow(loop);
  EXPECT_EQ(window->RegisterMessage("one"), otherWindow.RegisterMessage("one"));
  EXPECT_NE(window->RegisterMessage("one"), window->RegisterMessage("two"));
}

TEST_F(SocketsContract, TimersRunOnRestartAndStop) {
  window->StartTimer(1, 15);
  window->StartTimer(2, 60'000);
  window->StartTimer(2, 25);
  window->StartTimer(3, 1);
  window->StopTimer(3);
  window->StopTimer(99);
  target.onTold = [&] {
    if (target.told.back() == "timer 2") window->StopTimer(2);
  };
  RunUntil([this] { return target.told.size() >= 4; });
  EXPECT_THAT(target.told, testing::Contains("timer 2").Times(1));
  EXPECT_THAT(target.told, testing::Contains("timer 1").Times(target.told.size() - 1));
}

TEST_F(SocketsContract, ATimerHandlerMayDestroyItsWindow) {
  window->StartTimer(1, 1);
  window->StartTimer(2, 1);
  target.onTold = [&] { window.reset(); };
  EXPECT_EQ(Told(1).size(), 1U);
}

}  // namespace
}  // namespace tlk
