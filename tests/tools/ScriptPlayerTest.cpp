#include "tools/tlk/serve/ScriptPlayer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <asio/ip/tcp.hpp>
#include <sstream>

#include "tests/tools/Frames.h"

namespace tlk::serve {
namespace {

using asio::ip::tcp;
using testing::HasSubstr;
using testing::StartsWith;

/// What a player says when a client connects, sends these bytes and closes.
std::string LastLineOf(const std::string& script, const std::string& bytes, bool indented = false) {
  std::istringstream text("limit 1\nserver:\n" + script);
  std::string last;
  const auto conversation = ReadConversation(text, last);
  EXPECT_TRUE(conversation) << last;
  const LineWriter writeLine = [&last](std::string_view line) { last = line; };
  ScriptPlayer player(*conversation, writeLine, indented);
  EXPECT_FALSE(player.Listen(0));
  tcp::iostream client("127.0.0.1", last.substr(last.rfind(':') + 1));
  client << bytes << std::flush;
  client.socket().shutdown(tcp::socket::shutdown_send);
  return (player.Play() ? "played: " : "") + last;
}

TEST(Conversation, RefusesALineItCannotPlace) {
  for (const auto* const line :
       {"  accept\n", "servers:\n", "status one\n", "limit 0\n", "status -1\n", "colour 3\n",
        "status $FILL:\n", "status $FILL:99999999\n"}) {
    std::istringstream text(std::string("limit 5\n") + line);
    std::string error;
    EXPECT_FALSE(ReadConversation(text, error)) << line;
    EXPECT_THAT(error, StartsWith("line 2: ")) << line;
  }
}

TEST(ScriptPlayer, SaysWhyItFails) {
  struct {
    const char* script;
    std::string bytes;
    const char* failure;
  } const cases[] = {
      {"  dance\n", "", "no such command: dance"},
      {"  accept now\n", "", "wrong number of words"},
      {"  expect a\n", "a", "there is no client yet"},
      {"  client 1\n", "", "there is no client 1"},
      {"  accept\n  pieces many\n", "", "\"many\" is not a number"},
      {"  accept\n  accept\n", "", "nothing within 1000 ms"},
      {"  accept\n  expect ab\n  expect c\n", "abd", "got \"d\""},
      {"  accept\n  expect abc\n", "ab", "the connection ended after \"ab\""},
      {"  accept\n  expect-close\n", "a", "got \"a\""},
      {"  accept\n  expect-type T\n", Message("U", ""), "got type \"U\""},
      {"  accept\n  expect-type T\n", Stamped(Message("T", "") + "<b/>"), "not XML"},
      {"  accept\n  expect-message T <a/>\n", Message("T", "<Data><b/></Data>"), "expected "},
      {"  accept\n  expect-message T <a/>\n", Message("T", "<Data><a/></Data>", 1), "expected "},
      {"  accept\n  expect-message T\n", Message("T", "").replace(21, 7, "12ab567"),
       "got no message"},
  };
  for (const auto& one : cases) {
    EXPECT_THAT(LastLineOf(one.script, one.bytes),
                AllOf(StartsWith("failed: "), HasSubstr(one.failure)))
        << one.script;
  }
}

TEST(ScriptPlayer, ComparesIndentedMessagesAsTheyWouldBeWithout) {
  const auto message = Message("T", "<Data>\r\n\t\t<a/>\r\n\t</Data>\r\n");
  const std::string words = R"("<TLK_Message Length=\"0000106\" xmlns=\"\" Type=\"T\">)"
                            R"(<From Id=\"-1\"/><To Id=\"0\"/><Data><a/></Data></TLK_Message>")";
  for (const auto& line : {"expect " + words, "expect-stamped " + words,
                           std::string("expect-message T <a/>"), std::string("expect-type T")}) {
    const auto script = "  accept\n  " + line + "\n  expect-close\n";
    EXPECT_EQ(LastLineOf(script, message, true), "played: stopped") << line;
  }
  EXPECT_THAT(LastLineOf("  accept\n  expect-message T <a/>\n", message), StartsWith("failed: "));
  EXPECT_THAT(LastLineOf("  accept\n  expect \"<a/>\"", message, true), StartsWith("failed: "));
}

}  // namespace
}  // namespace tlk::serve
