#include "tools/tlk/serve/Conversation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace tlk::serve {
namespace {

TEST(Conversation, RefusesALineItCannotPlace) {
  for (const auto* const line :
       {"  accept\n", "servers:\n", "status one\n", "limit 0\n", "status -1\n", "colour 3\n",
        "status $FILL:\n", "status $FILL:99999999\n"}) {
    std::istringstream text(std::string("limit 5\n") + line);
    std::string error;
    EXPECT_FALSE(ReadConversation(text, error)) << line;
    EXPECT_THAT(error, testing::StartsWith("line 2: ")) << line;
  }
}

}  // namespace
}  // namespace tlk::serve
