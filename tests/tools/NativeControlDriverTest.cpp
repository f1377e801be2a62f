#include "tools/tlk/host/NativeControlDriver.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/platform/LoopbackPeer.h"

namespace tlk::host {
namespace {

using testing::ElementsAre;

/// Stands a pipe in for standard input.
class PipedInput {
 public:
  PipedInput() : m_saved(dup(STDIN_FILENO)) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    m_writer = OwnedDescriptor(ends[1]);
  }
  ~PipedInput() { dup2(m_saved.Get(), STDIN_FILENO); }
  PipedInput(const PipedInput&) = delete;
  PipedInput& operator=(const PipedInput&) = delete;

  void Write(std::string_view text) {
    ASSERT_EQ(write(m_writer.Get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void End() { m_writer = OwnedDescriptor(); }

 private:
  OwnedDescriptor m_saved;
  OwnedDescriptor m_writer;
};

class HeardEvents : public DrivenEvents {
 public:
  void OnStatus(std::int32_t status) override { all.push_back(std::to_string(status)); }
  void OnMessage(std::string_view type, std::string_view data) override {
    all.push_back(std::string(type) + " " + std::string(data));
  }

  std::vector<std::string> all;
};

constexpr const char* kMessage =
    "<TLK_Message Length=\"0000109\" xmlns=\"\" Type=\"First\"><From Id=\"0\"/><To Id=\"1\"/>"
    "<Data><\xE9/></Data></TLK_Message>";

TEST(NativeControlDriver, DeliversWhileItWaitsForInput) {
  PipedInput input;
  LoopbackPeer peer;
  HeardEvents events;
  NativeControlDriver driver;
  const auto control = driver.NewControl(events);
  EXPECT_EQ(control->Connect("127.0.0.1", ntohs(peer.Address().port)).value, 1);
  peer.Accept();
  peer.Send(kMessage);

  while (events.all.size() < 2) ASSERT_FALSE(driver.DeliverOnceOrInput());
  EXPECT_THAT(events.all, ElementsAre("3", "First <Data><\xE9/></Data>"));

  // Input that is already there comes before what waits to be delivered.
  input.Write("status\n");
  peer.Send(kMessage);
  EXPECT_TRUE(driver.DeliverOnceOrInput());
  EXPECT_EQ(events.all.size(), 2U);

  std::string bytes = "> ";
  EXPECT_TRUE(driver.ReadInput(bytes));
  EXPECT_EQ(bytes, "> status\n");
  input.End();
  EXPECT_TRUE(driver.DeliverOnceOrInput());
  EXPECT_FALSE(driver.ReadInput(bytes));
}

TEST(NativeControlDriver, TellsWhatACallHasWritten) {
  LoopbackPeer peer;
  HeardEvents events;
  NativeControlDriver driver;
  const auto control = driver.NewControl(events);
  const int port = ntohs(peer.Address().port);
  control->Connect("127.0.0.1", port);
  EXPECT_EQ(control->ConnectionStatus().value, 3);

  const ConnectResult again = control->Connect("127.0.0.1", port);
  EXPECT_EQ(static_cast<std::uint32_t>(again.hr), 0x80004005U);
  EXPECT_FALSE(again.value);

  peer.Accept();
  peer.Send(kMessage);
  const RequestResult reply = control->Request("Any", "", 10000);
  EXPECT_EQ(reply.type, "First");
  EXPECT_EQ(reply.data, "<Data><\xE9/></Data>");

  const RequestResult unanswered = control->Request("Any", "", 1);
  EXPECT_EQ(unanswered.hr, 0);
  EXPECT_FALSE(unanswered.type || unanswered.data);
}

}  // namespace
}  // namespace tlk::host
