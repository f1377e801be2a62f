#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "SocketsBed.h"
#include "tests/scripted/Eventually.h"

namespace tlk {

/// Sockets and a window of this thread, and a peer to talk to. Notes what the window is told, as
/// "read", "close:10054", "timer:7", and lets a test act on it.
struct SocketsFixture : testing::Test, WindowTarget {
  SocketsFixture() {
    window->SetTarget(this);
    AddOwnVerbs();
  }

  /// Each system's own tests define it.
  void AddOwnVerbs();

  std::intptr_t OnSocketNotify(std::uint32_t message, std::uintptr_t /*socket*/,
                               std::uintptr_t lParam, bool& handled) override {
    const std::map<std::uintptr_t, std::string> names{{1, "read"}, {2, "write"}, {32, "close"}};
    EXPECT_EQ(message, registered);
    handled = true;
    const auto error = lParam >> 16;
    Note(names.at(lParam & 0xFFFF) + (error == 0 ? "" : ':' + std::to_string(error)));
    return 0;
  }
  void OnTimer(std::uintptr_t timerId) override { Note("timer:" + std::to_string(timerId)); }
  void Note(const std::string& what) {
    told.push_back(what);
    if (const auto act = onTold) act();
  }

  void DispatchOnce() {
    const std::size_t before = told.size();
    EXPECT_TRUE(loop.DispatchOnce(20) || told.size() <= before) << "told that nothing came";
  }

  void RunUntil(const std::function<bool()>& done) {
    ASSERT_TRUE(test::Eventually([&] { return done() || (DispatchOnce(), false); }))
        << "nothing came in time";
  }

  /// These words, and no others, have been told since this was asked last, once they have come and
  /// a further round brings nothing.
  void ExpectTold(const std::string& words) {
    const auto count = std::ranges::count(words, ' ') + (words.empty() ? 0 : 1);
    RunUntil([&] { return std::ssize(told) >= count; });
    for (int round = 0; round < 100 && loop.DispatchOnce(10); ++round) {
    }
    std::string all;
    for (const std::string& each : std::exchange(told, {})) all += each + ' ';
    EXPECT_EQ(all, words.empty() ? "" : words + ' ');
  }

  /// The next notification, or each, has these steps played.
  void ActWhenTold(std::string steps, bool isOnce) {
    std::ranges::replace(steps, ',', ';');
    onTold = [this, steps, isOnce] {
      if (isOnce) onTold = nullptr;
      Play(steps);
    };
  }

  std::string Receive(int size) {
    std::array<char, 200> room;
    errno = EAGAIN;  // What an earlier call left says nothing of this one.
    const int count = sockets.Receive(socket, room, size);
    return count < 0 ? Outcome(count) : std::string(room.data(), static_cast<std::size_t>(count));
  }

  void Drain() {
    RunUntil([this] { return (unread -= peer.ReadSome(std::min(unread, kMuch)).size()) == 0; });
  }

  [[nodiscard]] std::string Outcome(int result) const {
    if (result == kSocketError) return "error " + std::to_string(sockets.LastError());
    return result == 0 ? "" : std::to_string(result);
  }

  /// Plays steps of sockets.txt.
  void Play(const std::string& script) {
    std::istringstream steps(script);
    for (std::string step; std::getline(steps >> std::ws, step, ';');) {
      const bool isForLater = step.find("-told ") != std::string::npos;
      const std::size_t end = isForLater ? step.size() : std::min(step.find(" = "), step.size());
      std::istringstream words(step.substr(0, end));
      std::string verb;
      std::string rest;
      std::getline(words >> verb >> std::ws, rest);
      ASSERT_EQ(verbs.at(verb)(rest), end < step.size() ? step.substr(end + 3) : "") << step;
      if (HasFailure()) FAIL() << step;
    }
  }

  static constexpr std::size_t kMuch = 1 << 20;
  static inline const std::string kBlock = std::string(16 * kMuch, 'x');

  LoopbackPeer peer;
  LoopbackPeer otherPeer;
  MessageLoop loop;
  std::unique_ptr<MessageWindow> window = std::make_unique<MessageWindow>(loop);
  const std::uint32_t registered = window->RegisterMessage("tlk:contract");
  Sockets& sockets = loop.GetSockets();
  SocketHandle socket = kInvalidSocket;
  SocketHandle otherSocket = kInvalidSocket;
  std::size_t unread = 0;
  std::vector<std::string> told;
  std::function<void()> onTold;
  std::jthread slowReader;

  std::map<std::string, std::function<std::string(const std::string&)>> verbs{
      {"none", [this](auto&) { return socket = kInvalidSocket, ""; }},
      {"open", [this](auto&) { return socket = sockets.Open(), ""; }},
      {"try", [this](auto&) { return Outcome(sockets.Connect(socket, peer.Address())); }},
      {"connect", [this](auto&) { return Play("open; try"), peer.Accept(), ""; }},
      {"other",
       [this](auto&) { return std::swap(peer, otherPeer), std::swap(socket, otherSocket), ""; }},
      {"say", [this](auto& text) { return Outcome(sockets.Send(socket, text)); }},
      {"say-block", [this](auto&) { return Outcome(sockets.Send(socket, kBlock)); }},
      {"receive", [this](auto& size) { return Receive(std::stoi(size)); }},
      {"request",
       [this](auto& mask) {
         const auto events = static_cast<std::uint32_t>(std::stoul(mask));
         return Outcome(sockets.RequestNotifications(socket, *window, registered, events));
       }},
      {"block", [this](auto&) { return Outcome(sockets.SetBlocking(socket)); }},
      {"keep-alive", [this](auto&) { return Outcome(sockets.EnableKeepAlive(socket)); }},
      {"limit",
       [this](auto& n) { return Outcome(sockets.SetReceiveTimeout(socket, std::stoi(n))); }},
      {"limit-say",
       [this](auto& n) { return Outcome(sockets.SetSendTimeout(socket, std::stoi(n))); }},
      {"fill",  // Until the system takes no more.
       [this](auto&) {
         int taken = 0;
         while ((taken = sockets.Send(socket, kBlock)) > 0)
           unread += static_cast<std::size_t>(taken);
         return Outcome(taken);
       }},
      {"close", [this](auto&) { return Outcome(sockets.Close(socket)); }},
      {"told", [this](auto& words) { return ExpectTold(words), ""; }},
      {"when-told", [this](auto& steps) { return ActWhenTold(steps, true), ""; }},
      {"each-told", [this](auto& steps) { return ActWhenTold(steps, false), ""; }},
      {"handled", [this](auto&) { return RunUntil([&] { return !onTold; }), ""; }},
      {"destroy", [this](auto&) { return window.reset(), ""; }},
      {"start", [this](auto& id) { return window->StartTimer(std::stoul(id), 10), ""; }},
      {"stop", [this](auto& id) { return window->StopTimer(std::stoul(id)), ""; }},
      {"send", [this](auto& bytes) { return peer.Send(bytes), ""; }},
      {"drain", [this](auto&) { return Drain(), ""; }},
      {"heard", [this](auto& size) { return peer.ReadSome(std::stoul(size)); }},
      {"slow",
       [this](auto&) {
         slowReader = std::jthread([this](const std::stop_token& stop) {
           for (; !stop.stop_requested(); peer.ReadSome(1 << 16))
             std::this_thread::sleep_for(std::chrono::milliseconds(20));
         });
         return "";
       }},
      {"end", [this](auto&) { return peer.Close(), ""; }},
      {"half-end", [this](auto&) { return peer.EndSending(), ""; }},
      {"reset", [this](auto&) { return slowReader = {}, peer.Reset(), ""; }},
      {"deaf", [this](auto&) { return peer.StopListening(), ""; }}};
};

}  // namespace tlk
