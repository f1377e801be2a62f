#include "tools/tlk/serve/Conversation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace tlk::serve {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

TEST(Conversation, HasSettingsAndSections) {
  std::istringstream text(
      "# about\n"
      "status 1\nlimit 20\ncode-page CP932\n"
      "host:\n"
      "  connect 127.0.0.1 $PORT\n"
      "\n"
      "  # nothing\n"
      "\tsend T $FILL:3$FILL:0.  \r\n"
      "server:\n"
      "  accept\n");
  std::string error;
  const auto conversation = ReadConversation(text, error);
  ASSERT_TRUE(conversation) << error;
  EXPECT_EQ(conversation->status, 1);
  EXPECT_EQ(conversation->limit, std::chrono::seconds(20));
  EXPECT_EQ(conversation->codePage, "CP932");
  EXPECT_THAT(conversation->host,
              ElementsAre(FieldsAre(6, "connect 127.0.0.1 $PORT"), FieldsAre(9, "send T xxx.")));
  EXPECT_THAT(conversation->server, ElementsAre(FieldsAre(11, "accept")));
}

class ConversationRefuses : public testing::TestWithParam<const char*> {};

TEST_P(ConversationRefuses, ALineItCannotPlace) {
  std::istringstream text(std::string("limit 5\n") + GetParam());
  std::string error;
  EXPECT_FALSE(ReadConversation(text, error));
  EXPECT_THAT(error, testing::StartsWith("line 2: "));
}

INSTANTIATE_TEST_SUITE_P(Slips, ConversationRefuses,
                         testing::Values("  accept\n", "servers:\n", "status one\n", "limit 0\n",
                                         "status -1\n", "colour 3\n", "status $FILL:\n",
                                         "status $FILL:99999999\n"));

}  // namespace
}  // namespace tlk::serve
