#include "platform/posix/MessageLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/platform/LoopbackPeer.h"

namespace tlk {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kMessage = 0xC001;

// Notes what it is told, as "read", "close 10054", "timer 7", and lets a test act on it.
class Target : public WindowTarget {
 public:
  std::intptr_t OnSocketNotify(std::uint32_t message, std::uintptr_t wParam, std::uintptr_t lParam,
                               bool& handled) override {
    EXPECT_EQ(message, kMessage);
    handled = true;
    const auto event = lParam & 0xFFFF;
    std::string name = event == socket_event::kRead    ? "read"
                       : event == socket_event::kWrite ? "write"
                                                       : "close";
    if (lParam >> 16 != 0) {
      name += ' ' + std::to_string(lParam >> 16);
    }
    told.push_back(name);
    if (onNotify) {
      onNotify(wParam, name);
    }
    return 0;
  }

  void OnTimer(std::uintptr_t timerId) override {
    told.push_back("timer " + std::to_string(timerId));
    if (onTimer) {
      onTimer(timerId);
    }
  }

  std::vector<std::string> told;
  std::function<void(SocketHandle, const std::string&)> onNotify;
  std::function<void(std::uintptr_t)> onTimer;
};

class MessageLoopTest : public testing::Test {
 protected:
  MessageLoopTest() { window->SetTarget(&target); }

  SocketHandle Connect() {
    const auto socket = sockets.Open();
    EXPECT_EQ(sockets.Connect(socket, peer.Address()), 0);
    peer.Accept();
    return socket;
  }

  // A connection whose first write notification is out of the way.
  SocketHandle ConnectQuietly() {
    const auto socket = Connect();
    EXPECT_EQ(sockets.RequestNotifications(socket, *window, kMessage, socket_event::kAll), 0);
    RunUntil([this] { return target.told.size() == 1; });
    target.told.clear();
    return socket;
  }

  void RunUntil(const std::function<bool()>& done) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done()) {
      ASSERT_LT(std::chrono::steady_clock::now(), limit) << "nothing came in time";
      loop.DispatchOnce(20);
    }
  }

  // Delivers whatever is there, until a round brings nothing.
  void RunDry() {
    for (int round = 0; round < 100 && loop.DispatchOnce(10); ++round) {
    }
  }

  std::string Receive(SocketHandle socket, int size) {
    std::string bytes(static_cast<std::size_t>(size), '\0');
    const int count = sockets.Receive(socket, bytes, size);
    return count < 0 ? "error " + std::to_string(sockets.LastError())
                     : bytes.substr(0, static_cast<std::size_t>(count));
  }

  LoopbackPeer peer;
  MessageLoop loop;
  std::unique_ptr<MessageWindow> window = std::make_unique<MessageWindow>(loop);
  Target target;
  Sockets& sockets = loop.GetSockets();
};

TEST_F(MessageLoopTest, ReadIsToldOnceUntilAReceive) {
  const auto socket = ConnectQuietly();
  peer.Send("abcdef");
  RunUntil([this] { return !target.told.empty(); });
  peer.Send("ghi");
  RunDry();
  EXPECT_THAT(target.told, ElementsAre("read"));

  EXPECT_EQ(Receive(socket, 2), "ab");
  RunDry();
  EXPECT_THAT(target.told, ElementsAre("read", "read"));
  EXPECT_EQ(Receive(socket, 100), "cdefghi");
  RunDry();
  EXPECT_THAT(target.told, ElementsAre("read", "read"));
}

TEST_F(MessageLoopTest, ReadIsNeverToldWhenNothingWaits) {
  const auto socket = ConnectQuietly();
  std::string received;
  target.onNotify = [&](SocketHandle, const std::string&) {
    // Two receives for a notification, as a reader makes them: prefix, then body.
    for (const int size : {3, 5}) {
      const auto bytes = Receive(socket, size);
      EXPECT_NE(bytes, "error 10035");
      received += bytes;
    }
  };
  std::string sent;
  for (int i = 0; i < 200; ++i) {
    peer.Send("12345678");
    sent += "12345678";
    if (i % 3 == 0) {
      loop.DispatchOnce(0);
    }
  }
  RunUntil([&] { return received.size() == sent.size(); });
  EXPECT_EQ(received, sent);
}

TEST_F(MessageLoopTest, BytesTakenMeanwhileAreNotTold) {
  const auto first = ConnectQuietly();
  LoopbackPeer otherPeer;
  const auto second = sockets.Open();
  ASSERT_EQ(sockets.Connect(second, otherPeer.Address()), 0);
  otherPeer.Accept();
  ASSERT_EQ(sockets.RequestNotifications(second, *window, kMessage, socket_event::kRead), 0);
  target.onNotify = [&](SocketHandle, const std::string&) {
    Receive(first, 10);
    Receive(second, 10);
  };
  peer.Send("a");
  otherPeer.Send("b");
  RunUntil([this] { return !target.told.empty(); });
  RunDry();
  EXPECT_THAT(target.told, ElementsAre("read"));
}

TEST_F(MessageLoopTest, WriteIsToldOnRequestAndWhenRoomComesBack) {
  const auto socket = Connect();
  ASSERT_EQ(sockets.RequestNotifications(socket, *window, kMessage, socket_event::kAll), 0);
  EXPECT_THAT(target.told, IsEmpty()) << "told inside the request";
  RunDry();
  EXPECT_THAT(target.told, ElementsAre("write"));

  const std::string block(1 << 20, 'x');
  std::size_t sent = 0;
  while (sockets.Send(socket, block) == static_cast<int>(block.size())) {
    sent += block.size();
    ASSERT_LT(sent, std::size_t{1} << 30);
  }
  EXPECT_EQ(sockets.LastError(), socket_error::kWouldBlock);
  RunDry();
  EXPECT_THAT(target.told, ElementsAre("write"));

  std::size_t read = 0;
  RunUntil([&] {
    read += peer.ReadSome(block.size()).size();
    return target.told.size() == 2 && read == sent;
  });
  EXPECT_THAT(target.told, ElementsAre("write", "write"));
  EXPECT_EQ(sockets.Send(socket, "more"), 4);
  EXPECT_EQ(peer.Read(4), "more");
}

TEST_F(MessageLoopTest, WhatASendTookGoesOutAfterClose) {
  const auto socket = ConnectQuietly();
  const std::string large(9000000, 'y');
  ASSERT_EQ(sockets.Send(socket, large), static_cast<int>(large.size()));
  EXPECT_EQ(sockets.Close(socket), 0);
  EXPECT_EQ(Receive(socket, 1), "error 10038");
  std::size_t read = 0;
  RunUntil([&] {
    read += peer.ReadSome(1 << 20).size();
    return read == large.size();
  });
  RunDry();
  EXPECT_THAT(target.told, IsEmpty());
}

TEST_F(MessageLoopTest, CloseIsToldOnceAndAfterTheBytes) {
  const auto socket = ConnectQuietly();
  peer.Send("last words");
  peer.Close();
  RunUntil([this] { return !target.told.empty(); });
  RunDry();
  EXPECT_THAT(target.told, ElementsAre("read"));
  EXPECT_EQ(Receive(socket, 5), "last ");
  RunDry();
  EXPECT_EQ(Receive(socket, 50), "words");
  RunDry();
  RunDry();
  EXPECT_THAT(target.told, ElementsAre("read", "read", "close"));
}

TEST_F(MessageLoopTest, AResetIsToldWithItsNumber) {
  ConnectQuietly();
  peer.Reset();
  RunUntil([this] { return !target.told.empty(); });
  RunDry();
  EXPECT_THAT(target.told, ElementsAre("close 10054"));
}

TEST_F(MessageLoopTest, NothingIsToldAfterMaskZeroOrClose) {
  const auto socket = ConnectQuietly();
  ASSERT_EQ(sockets.RequestNotifications(socket, *window, 0, 0), 0);
  peer.Send("unheard");
  RunDry();
  EXPECT_THAT(target.told, IsEmpty());

  ASSERT_EQ(sockets.RequestNotifications(socket, *window, kMessage, socket_event::kAll), 0);
  sockets.Close(socket);
  RunDry();
  EXPECT_THAT(target.told, IsEmpty());
}

TEST_F(MessageLoopTest, AHandlerMayCloseTheSocketAndDestroyTheWindow) {
  ConnectQuietly();
  target.onNotify = [&](SocketHandle socket, const std::string&) {
    sockets.Close(socket);
    window.reset();
  };
  peer.Send("x");
  RunUntil([this] { return !target.told.empty(); });
  RunDry();
  EXPECT_THAT(target.told, ElementsAre("read"));
}

TEST_F(MessageLoopTest, AHandlerMayRunTheLoop) {
  const auto socket = ConnectQuietly();
  target.onNotify = [&](SocketHandle, const std::string&) {
    target.onNotify = nullptr;
    EXPECT_EQ(Receive(socket, 1), "a");
    RunDry();
    target.told.emplace_back("outer ends");
  };
  peer.Send("ab");
  RunUntil([this] { return target.told.size() >= 3; });
  EXPECT_THAT(target.told, ElementsAre("read", "read", "outer ends"));
}

TEST_F(MessageLoopTest, BlockingReceiveAndItsEnds) {
  const auto socket = Connect();
  ASSERT_EQ(sockets.SetReceiveTimeout(socket, 30), 0);
  EXPECT_EQ(Receive(socket, 1), "error 10060");
  peer.Send("abc");
  EXPECT_EQ(Receive(socket, 2), "ab");

  ASSERT_EQ(sockets.RequestNotifications(socket, *window, kMessage, socket_event::kAll), 0);
  EXPECT_EQ(sockets.SetBlocking(socket), kSocketError);
  EXPECT_EQ(sockets.LastError(), socket_error::kInvalidArgument);
  EXPECT_EQ(Receive(socket, 1), "c");
  EXPECT_EQ(Receive(socket, 1), "error 10035");
  ASSERT_EQ(sockets.RequestNotifications(socket, *window, 0, 0), 0);
  EXPECT_EQ(Receive(socket, 1), "error 10035") << "still not blocking";
  ASSERT_EQ(sockets.SetBlocking(socket), 0);
  EXPECT_EQ(Receive(socket, 1), "error 10060");

  peer.Close();
  EXPECT_EQ(Receive(socket, 1), "");
  EXPECT_EQ(Receive(socket, 1), "error 10101") << "reading on after the end goes on for ever";
}

TEST_F(MessageLoopTest, BlockingSendRunsIntoItsLimit) {
  const auto socket = Connect();
  ASSERT_EQ(sockets.SetSendTimeout(socket, 50), 0);
  const std::string block(8 << 20, 'x');
  int result = 0;
  for (int i = 0; i < 100 && result != kSocketError; ++i) {
    result = sockets.Send(socket, block);
  }
  EXPECT_EQ(result, kSocketError);
  EXPECT_EQ(sockets.LastError(), socket_error::kTimedOut);
}

TEST_F(MessageLoopTest, ReceiveRefusesImpossibleSizes) {
  const auto socket = Connect();
  peer.Send("abcdef");
  char buffer[4] = {'1', '2', '3', '4'};
  for (const int size : {-1, -30, 5, 1 << 30}) {
    EXPECT_EQ(sockets.Receive(socket, buffer, size), kSocketError) << size;
    EXPECT_EQ(sockets.LastError(), socket_error::kFault) << size;
  }
  EXPECT_EQ(std::string(buffer, 4), "1234");
}

TEST_F(MessageLoopTest, EveryCallOnNoSocketFails) {
  const std::function<int(SocketHandle)> calls[] = {
      [&](SocketHandle s) { return sockets.Connect(s, peer.Address()); },
      [&](SocketHandle s) { return sockets.Send(s, "x"); },
      [&](SocketHandle s) { return sockets.Receive(s, {}, 0); },
      [&](SocketHandle s) { return sockets.Close(s); },
      [&](SocketHandle s) { return sockets.EnableKeepAlive(s); },
      [&](SocketHandle s) { return sockets.SetBlocking(s); },
      [&](SocketHandle s) { return sockets.SetSendTimeout(s, 1); },
      [&](SocketHandle s) { return sockets.SetReceiveTimeout(s, 1); },
      [&](SocketHandle s) { return sockets.RequestNotifications(s, *window, kMessage, 1); },
  };
  const auto closed = sockets.Open();
  sockets.Close(closed);
  for (const auto socket : {kInvalidSocket, closed}) {
    for (std::size_t i = 0; i < std::size(calls); ++i) {
      EXPECT_EQ(calls[i](socket), kSocketError) << "call " << i;
      EXPECT_EQ(sockets.LastError(), socket_error::kNotASocket) << "call " << i;
    }
  }
}

TEST_F(MessageLoopTest, AddressesAndNames) {
  EXPECT_EQ(sockets.ParseAddress("127.0.0.1"), htonl(INADDR_LOOPBACK));
  EXPECT_EQ(sockets.ParseAddress("255.255.255.255"), kNoAddress);
  EXPECT_EQ(sockets.ParseAddress("localhost"), kNoAddress);
  EXPECT_EQ(sockets.ResolveHost("localhost"), htonl(INADDR_LOOPBACK));
  EXPECT_EQ(sockets.ResolveHost("no-such-host.invalid"), std::nullopt);

  peer.StopListening();
  const auto socket = sockets.Open();
  EXPECT_EQ(sockets.Connect(socket, peer.Address()), kSocketError);
  EXPECT_EQ(sockets.LastError(), socket_error::kConnectionRefused);
}

TEST_F(MessageLoopTest, AWindowOfAnotherLoopIsRefused) {
  const auto socket = Connect();
  MessageLoop otherLoop;
  MessageWindow otherWindow(otherLoop);
  EXPECT_EQ(sockets.RequestNotifications(socket, otherWindow, kMessage, 1), kSocketError);
  EXPECT_EQ(sockets.LastError(), socket_error::kInvalidArgument);
}

TEST_F(MessageLoopTest, TimersRunOnRestartAndStop) {
  window->StartTimer(1, 15);
  window->StartTimer(2, 60000);
  window->StartTimer(2, 25);
  window->StartTimer(3, 1);
  window->StopTimer(3);
  window->StopTimer(99);
  target.onTimer = [&](std::uintptr_t id) {
    if (id == 2) {
      window->StopTimer(2);
    }
  };
  RunUntil([this] { return target.told.size() >= 4; });
  EXPECT_EQ(testing::Value(target.told, testing::Contains("timer 2").Times(1)), true);
  EXPECT_EQ(testing::Value(target.told, testing::Contains("timer 1").Times(testing::Ge(2))), true);
  EXPECT_THAT(target.told, testing::Not(testing::Contains("timer 3")));
}

TEST_F(MessageLoopTest, ATimerHandlerMayDestroyItsWindow) {
  window->StartTimer(1, 1);
  window->StartTimer(2, 1);
  target.onTimer = [&](std::uintptr_t) { window.reset(); };
  RunUntil([this] { return !target.told.empty(); });
  RunDry();
  EXPECT_EQ(target.told.size(), 1U);
}

TEST_F(MessageLoopTest, WaitsForADescriptorToo) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const OwnedDescriptor reading(ends[0]);
  OwnedDescriptor writing(ends[1]);
  EXPECT_FALSE(loop.DispatchOnceOrReadable(reading.Get(), 5));
  ASSERT_EQ(::write(writing.Get(), "x", 1), 1);
  EXPECT_TRUE(loop.DispatchOnceOrReadable(reading.Get(), 10000));
  char byte = 0;
  ASSERT_EQ(::read(reading.Get(), &byte, 1), 1);
  writing = OwnedDescriptor();
  EXPECT_TRUE(loop.DispatchOnceOrReadable(reading.Get(), 10000)) << "the end of input is readable";
}

TEST_F(MessageLoopTest, MessageNumbersBelongToNames) {
  MessageLoop otherLoop;
  MessageWindow otherWindow(otherLoop);
  EXPECT_EQ(window->RegisterMessage("one"), otherWindow.RegisterMessage("one"));
  EXPECT_NE(window->RegisterMessage("one"), window->RegisterMessage("two"));
}

}  // namespace
}  // namespace tlk
