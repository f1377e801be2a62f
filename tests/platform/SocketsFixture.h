#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "SocketsBed.h"

namespace tlk {

/// Notes what it is told, as "read", "close:10054", "timer:7", and lets a test act on it.
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
    Note(kNames.at(lParam & 0xFFFF) + (error == 0 ? "" : ':' + std::to_string(error)));
    return 0;
  }

  void OnTimer(std::uintptr_t timerId) override { Note("timer:" + std::to_string(timerId)); }

  std::vector<std::string> told;
  std::uint32_t registered = 0;
  SocketHandle socket = kInvalidSocket;
  std::function<void()> onTold;

 private:
  void Note(const std::string& what) {
    told.push_back(what);
    if (const auto act = onTold) act();
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
    const auto connected = sockets.Open();
    EXPECT_EQ(sockets.Connect(connected, to.Address()), 0);
    to.Accept();
    return connected;
  }

  int Request(SocketHandle of, std::uint32_t mask) {
    return sockets.RequestNotifications(of, *window, target.registered, mask);
  }

  /// A connection whose first write notification is out of the way.
  SocketHandle ConnectQuietly() {
    Play("connect; request 51; told write");
    return socket;
  }

  void RunUntil(const std::function<bool()>& done) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done()) {
      ASSERT_LT(std::chrono::steady_clock::now(), limit) << "nothing came in time";
      loop.DispatchOnce(20);
    }
  }

  /// These words, and no others, have been told since this was asked last, once they have come and
  /// a further round brings nothing.
  void ExpectTold(const std::string& words) {
    const auto count = std::ranges::count(words, ' ') + (words.empty() ? 0 : 1);
    RunUntil([&] { return std::ssize(target.told) >= count; });
    for (int round = 0; round < 100 && loop.DispatchOnce(10); ++round) {
    }
    std::string told;
    for (const std::string& each : std::exchange(target.told, {})) told += each + ' ';
    EXPECT_EQ(told, words.empty() ? "" : words + ' ');
  }

  std::string Receive(SocketHandle from, int size) {
    std::array<char, 200> room;
    const int count = sockets.Receive(from, room, size);
    return count < 0 ? Outcome(count) : std::string(room.data(), static_cast<std::size_t>(count));
  }

  [[nodiscard]] std::string Outcome(int result) const {
    if (result == kSocketError) return "error " + std::to_string(sockets.LastError());
    return result == 0 ? "" : std::to_string(result);
  }

  /// Plays steps such as "send abc; told read; receive 2 = ab": a verb, what it takes, and what
  /// comes out of it, nothing if nothing is said. Behind "when-told" follow steps for later.
  void Play(const std::string& script) {
    std::istringstream steps(script);
    for (std::string step; std::getline(steps >> std::ws, step, ';');) {
      const bool isForLater = step.starts_with("when-told");
      const std::size_t end = isForLater ? step.size() : std::min(step.find(" = "), step.size());
      std::istringstream words(step.substr(0, end));
      std::string verb;
      std::string rest;
      std::getline(words >> verb >> std::ws, rest);
      ASSERT_EQ(verbs.at(verb)(rest), end < step.size() ? step.substr(end + 3) : "") << step;
      if (HasFailure()) FAIL() << step;
    }
  }

  /// Sends until the system takes no more.
  std::string Fill() {
    int taken = 0;
    while ((taken = sockets.Send(socket, kBlock)) > 0) unread += static_cast<std::size_t>(taken);
    return Outcome(taken);
  }
  void Drain() {
    RunUntil([this] { return (unread -= peer.ReadSome(1 << 20).size()) == 0; });
  }

  /// The next notification has these steps, with commas between them, played.
  void OnceTold(std::string steps) {
    std::ranges::replace(steps, ',', ';');
    target.onTold = [this, steps] {
      target.onTold = nullptr;
      Play(steps);
    };
  }

  static inline const std::string kBlock = std::string(16 << 20, 'x');

  LoopbackPeer peer;
  MessageLoop loop;
  std::unique_ptr<MessageWindow> window = std::make_unique<MessageWindow>(loop);
  Target target;
  Sockets& sockets = loop.GetSockets();
  SocketHandle socket = kInvalidSocket;
  std::size_t unread = 0;

  /// What `Play` understands; a test may add to it.
  std::map<std::string, std::function<std::string(const std::string&)>> verbs{
      {"none", [this](auto&) { return socket = kInvalidSocket, ""; }},
      {"open", [this](auto&) { return socket = sockets.Open(), ""; }},
      {"try", [this](auto&) { return Outcome(sockets.Connect(socket, peer.Address())); }},
      {"connect", [this](auto&) { return socket = Connect(peer), ""; }},
      {"say", [this](auto& text) { return Outcome(sockets.Send(socket, text)); }},
      {"receive", [this](auto& size) { return Receive(socket, std::stoi(size)); }},
      {"request", [this](auto& mask) { return Outcome(Request(socket, Number(mask))); }},
      {"block", [this](auto&) { return Outcome(sockets.SetBlocking(socket)); }},
      {"keep-alive", [this](auto&) { return Outcome(sockets.EnableKeepAlive(socket)); }},
      {"limit",
       [this](auto& ms) { return Outcome(sockets.SetReceiveTimeout(socket, Number(ms))); }},
      {"limit-say",
       [this](auto& ms) { return Outcome(sockets.SetSendTimeout(socket, Number(ms))); }},
      {"fill", [this](auto&) { return Fill(); }},
      {"close", [this](auto&) { return Outcome(sockets.Close(socket)); }},
      {"told", [this](auto& words) { return ExpectTold(words), ""; }},
      {"when-told", [this](auto& steps) { return OnceTold(steps), ""; }},
      {"handled", [this](auto&) { return RunUntil([&] { return !target.onTold; }), ""; }},
      {"destroy", [this](auto&) { return window.reset(), ""; }},
      {"start", [this](auto& id) { return window->StartTimer(Number(id), 10), ""; }},
      {"stop", [this](auto& id) { return window->StopTimer(Number(id)), ""; }},
      {"send", [this](auto& bytes) { return peer.Send(bytes), ""; }},
      {"drain", [this](auto&) { return Drain(), ""; }},
      {"heard", [this](auto& size) { return peer.ReadSome(Number(size)); }},
      {"end", [this](auto&) { return peer.Close(), ""; }},
      {"reset", [this](auto&) { return peer.Reset(), ""; }},
      {"deaf", [this](auto&) { return peer.StopListening(), ""; }}};

 private:
  static std::uint8_t Number(const std::string& digits) {
    return static_cast<std::uint8_t>(std::stoi(digits));
  }
};

}  // namespace tlk
