#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "SocketsBed.h"

namespace tlk {

/// Notes what it is told, as "read", "close 10054", "timer 7", and lets a test act on it.
class Target : public WindowTarget {
 public:
  std::intptr_t OnSocketNotify(std::uint32_t message, std::uintptr_t wParam, std::uintptr_t lParam,
                               bool& handled) override {
    static const std::map<std::uintptr_t, std::string> kNames{{socket_event::kRead, "read"},
                                                              {socket_event::kWrite, "write"},
                                                              {socket_event::kClose, "close"}};
    EXPECT_EQ(message, registered);
    handled = true;
    socket = wParam;
    const auto error = lParam >> 16;
    Note(kNames.at(lParam & 0xFFFF) + (error == 0 ? "" : ' ' + std::to_string(error)));
    return 0;
  }

  void OnTimer(std::uintptr_t timerId) override { Note("timer " + std::to_string(timerId)); }

  std::vector<std::string> told;
  std::uint32_t registered = 0;
  SocketHandle socket = kInvalidSocket;
  std::function<void()> onTold;

 private:
  void Note(const std::string& what) {
    told.push_back(what);
    if (onTold) onTold();
  }
};

/// Sockets and a window of this thread, and a peer to talk to.
class SocketsFixture : public testing::Test {
 protected:
  SocketsFixture() {
    window->SetTarget(&target);
    target.registered = window->RegisterMessage("tlk:contract");
  }

  SocketHandle Connect(LoopbackPeer& to) {
    const auto socket = sockets.Open();
    EXPECT_EQ(sockets.Connect(socket, to.Address()), 0);
    to.Accept();
    return socket;
  }

  int Request(SocketHandle socket, std::uint32_t mask) {
    return sockets.RequestNotifications(socket, *window, target.registered, mask);
  }

  /// A connection whose first write notification is out of the way.
  SocketHandle ConnectQuietly() {
    const auto socket = Connect(peer);
    EXPECT_EQ(Request(socket, socket_event::kAll), 0);
    EXPECT_THAT(Told(1), testing::ElementsAre("write"));
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

  /// What has been told, once it is so much and a further round brings nothing.
  const std::vector<std::string>& Told(std::size_t atLeast) {
    RunUntil([&] { return target.told.size() >= atLeast; });
    for (int round = 0; round < 100 && loop.DispatchOnce(10); ++round) {
    }
    return target.told;
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

}  // namespace tlk
