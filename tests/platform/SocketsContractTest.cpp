// What every platform's sockets and control windows hold to, most of it as the scripts of
// sockets.txt.
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/SocketsFixture.h"

namespace tlk {

/// The steps of each, by its name.
std::map<std::string, std::string> ReadScripts() {
  std::map<std::string, std::string> scripts;
  for (const char* path : {TLKC2_SOCKET_SCRIPTS, TLKC2_OWN_SOCKET_SCRIPTS}) {
    std::ifstream file(path);
    if (!file) std::abort();
    for (std::string line, name; std::getline(file, line);) {
      if (line.starts_with(' ')) scripts[name] += line;
      if (line.find_first_of(" #") != 0) name = line;
    }
  }
  return scripts;
}

struct SocketScript : SocketsFixture,
                      testing::WithParamInterface<std::pair<const std::string, std::string>> {};

TEST_P(SocketScript, Holds) { Play(GetParam().second); }

INSTANTIATE_TEST_SUITE_P(SocketsContract, SocketScript, testing::ValuesIn(ReadScripts()),
                         [](const auto& script) { return script.param.first; });

using SocketsContract = SocketsFixture;

TEST_F(SocketsContract, KnowsAddressesAndNames) {
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

struct TheEndOf : SocketsFixture, testing::WithParamInterface<const char*> {};

TEST_P(TheEndOf, LetsOutWhatWasTakenAsLongAsThePeerReads) {
  std::unique_ptr<MessageLoop> loopOfThread;
  const std::jthread owner([&] {
    loopOfThread = std::make_unique<MessageLoop>();
    auto itsWindow = std::make_unique<MessageWindow>(*loopOfThread);
    Sockets& its = loopOfThread->GetSockets();
    const auto itsSocket = its.Open();
    ASSERT_EQ(its.Connect(itsSocket, peer.Address()), 0);
    ASSERT_EQ(its.RequestNotifications(itsSocket, *itsWindow, 1, socket_event::kAll), 0);
    ASSERT_EQ(its.Send(itsSocket, kBlock), std::ssize(kBlock));
    itsWindow.reset();
    if (GetParam() == std::string("loop")) loopOfThread.reset();
  });
  peer.Accept();
  peer.Send("what nobody reads must not cost what was sent");
  for (int half = 0; half < 2; ++half) {
    std::this_thread::sleep_for(kPause);
    unread = kBlock.size() / 2;
    Drain();
  }
}

INSTANTIATE_TEST_SUITE_P(SocketsContract, TheEndOf, testing::ValuesIn(kEndings));

}  // namespace tlk
