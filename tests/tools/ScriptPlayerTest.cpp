#include "tools/tlk/serve/ScriptPlayer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <asio/buffer.hpp>
#include <asio/write.hpp>
#include <sstream>
#include <thread>

#include "tests/tools/Frames.h"

namespace tlk::serve {
namespace {

using asio::ip::tcp;
using testing::HasSubstr;
using testing::StartsWith;

/// What a player says when a client connects, sends these bytes and closes.
std::string LastLineOf(const std::string& script, const std::string& bytes, bool& played) {
  std::istringstream text("limit 1\nserver:\n" + script);
  std::string last;
  const auto conversation = ReadConversation(text, last);
  EXPECT_TRUE(conversation) << last;
  const LineWriter writeLine = [&last](std::string_view line) { last = line; };
  ScriptPlayer player(*conversation, writeLine);
  EXPECT_FALSE(player.Listen(0));
  const auto port = static_cast<std::uint16_t>(std::stoi(last.substr(last.rfind(':') + 1)));
  asio::io_context io;
  tcp::socket client(io);
  client.connect({asio::ip::address_v4::loopback(), port});
  asio::write(client, asio::buffer(bytes));
  client.shutdown(tcp::socket::shutdown_send);
  played = player.Play();
  return last;
}

TEST(ScriptPlayer, PlaysToTheEnd) {
  bool played = false;
  EXPECT_EQ(LastLineOf("  accept\n"
                       "  expect ab\n"
                       "  expect \"c \"\n"
                       "  expect-message One <a/>\n"
                       "  expect-message Two <b/> 7\n"
                       "  expect-type Three\n"
                       "  expect-close\n",
                       "abc " + Message("One", "<Data><a/></Data>") +
                           Stamped(Message("Two", "<Data><b/></Data>", 7) + "\r\n") +
                           Message("Three", ""),
                       played),
            "stopped");
  EXPECT_TRUE(played);
}

struct Disappointment {
  const char* script;
  std::string bytes;
  const char* failure;
};

void PrintTo(const Disappointment& disappointment, std::ostream* out) {
  *out << disappointment.failure;
}

class ScriptPlayerFails : public testing::TestWithParam<Disappointment> {};

TEST_P(ScriptPlayerFails, AndSaysWhy) {
  bool played = true;
  const auto last = LastLineOf(GetParam().script, GetParam().bytes, played);
  EXPECT_FALSE(played);
  EXPECT_THAT(last, StartsWith("failed: "));
  EXPECT_THAT(last, HasSubstr(GetParam().failure));
}

INSTANTIATE_TEST_SUITE_P(
    Scripts, ScriptPlayerFails,
    testing::Values(
        Disappointment{"  dance\n", "", "no such command: dance"},
        Disappointment{"  accept now\n", "", "wrong number of words"},
        Disappointment{"  expect a\n", "a", "there is no client yet"},
        Disappointment{"  client 1\n", "", "there is no client 1"},
        Disappointment{"  accept\n  pieces many\n", "", "\"many\" is not a number"},
        Disappointment{"  accept\n  send \"a\n", "", "open quote"},
        Disappointment{"  accept\n  accept\n", "", "nothing within 1000 ms"},
        Disappointment{"  accept\n  expect abc\n", "abd", "got \"abd\""},
        Disappointment{"  accept\n  expect abc\n", "ab", "the connection ended after \"ab\""},
        Disappointment{"  accept\n  expect-close\n", "a", "got \"a\""},
        Disappointment{"  accept\n  expect-type T\n", Message("U", ""), "got type \"U\""},
        Disappointment{"  accept\n  expect-type T\n", Stamped(Message("T", "") + "<b/>"),
                       "not XML"},
        Disappointment{"  accept\n  expect-message T <a/>\n", Message("T", "<Data><b/></Data>"),
                       "expected "},
        Disappointment{"  accept\n  expect-message T <a/>\n", Message("T", "<Data><a/></Data>", 1),
                       "expected "},
        Disappointment{"  accept\n  expect-message T\n", Message("T", "").replace(21, 7, "12ab567"),
                       "got no message"}));

}  // namespace
}  // namespace tlk::serve
