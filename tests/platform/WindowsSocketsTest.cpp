// What Windows sockets and windows hold to beyond the contract: windows that come and go, and
// notifications that come late.
#include <chrono>
#include <string>
#include <thread>

#include "tests/platform/SocketsFixture.h"

namespace tlk {
namespace {

using namespace std::chrono_literals;

class WindowsSocketsTest : public SocketsFixture {
 protected:
  WindowsSocketsTest() {
    verbs["vanish"] = [this](auto&) { return window->Vanish(), ""; };
    verbs["appear"] = [this](auto&) { return window->Appear(), ""; };
    verbs["post"] = [this](auto& event) {
      return ::PostMessageA(window->Handle(), target.registered, socket, std::stoi(event))
                 ? ""
                 : "refused";
    };
  }

  /// Reads so much after a pause.
  void Read(std::size_t size, std::chrono::milliseconds pause) {
    std::this_thread::sleep_for(pause);
    const auto limit = std::chrono::steady_clock::now() + 20s;
    for (std::size_t read = 0; read < size; read += peer.ReadSome(size - read).size())
      ASSERT_LT(std::chrono::steady_clock::now(), limit) << read << " bytes of " << size;
  }
};

TEST_F(WindowsSocketsTest, ANewWindowHearsWhatTheOldOneWasPromised) {
  Play(
      "connect; request 51; told write; start 7; vanish; send abc; told; stop 7; start 8; appear;"
      "when-told; handled; when-told stop 8; handled; told read timer:8; vanish; end; appear;"
      "told read; receive 9 = abc; told close");
}

TEST_F(WindowsSocketsTest, AWindowThatWasCalledOffHearsNothingWhenItAppears) {
  Play(
      "connect; request 51; told write; request 0; vanish; request 51 = error 10022; send abc;"
      "appear; told");
}

TEST_F(WindowsSocketsTest, LateNotificationsAreMeasuredByTheSocketsRealState) {
  Play(
      "connect; request 51; told write; post 1; post 2; post 32; told; send abc; told read;"
      "post 32; post 1; told; receive 3 = abc; end; told close; post 32; told");
}

// Wine takes a part of a large text only.
TEST_F(WindowsSocketsTest, TheLimitOfASendIsOneForAllThatItSends) {
  ConnectQuietly();
  ASSERT_EQ(sockets.Send(socket, kBlock), std::ssize(kBlock));
  Play("request 0; block");
  ASSERT_EQ(sockets.SetSendTimeout(socket, 2000), 0);
  const std::jthread reader([&] { Read(kBlock.size(), 1400ms); });
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Outcome(sockets.Send(socket, std::string(80'000'000, 'z'))), "error 10060");
  EXPECT_LT(std::chrono::steady_clock::now() - start, 3000ms);
}

TEST_F(WindowsSocketsTest, WhatWasTakenGoesOutInTheEndAsLongAsThePeerReads) {
  std::jthread reader;
  MessageLoop ending;
  MessageWindow endingWindow(ending);
  auto& its = ending.GetSockets();
  socket = its.Open();
  ASSERT_EQ(its.Connect(socket, peer.Address()), 0);
  peer.Accept();
  ASSERT_EQ(its.RequestNotifications(socket, endingWindow, target.registered, 1), 0);
  ASSERT_EQ(its.Send(socket, kBlock), std::ssize(kBlock));
  peer.Send("what nobody reads must not cost what was sent");
  reader = std::jthread([&] {
    for (int half = 0; half < 2; ++half) Read(kBlock.size() / 2, 3000ms);
  });
}

// It must not hold the host up for ever.
TEST_F(WindowsSocketsTest, CloseGivesUpOnAPeerThatDoesNotRead) {
  const auto start = std::chrono::steady_clock::now();
  Play("connect; request 51; told write; fill = error 10035; close");
  EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
}

}  // namespace
}  // namespace tlk
