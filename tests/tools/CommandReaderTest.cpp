#include "tools/tlk/host/CommandReader.h"

#include <gtest/gtest.h>

namespace tlk::host {
namespace {

TEST(CommandReader, RefusesALineAndSaysWhatIsWrong) {
  struct {
    const char* line;
    const char* error;
  } const cases[] = {
      {"conect a 1", R"(unknown command "conect")"},
      {"\"\"", R"(unknown command "")"},
      {"connect a", "wrong number of words: connect SERVER PORT"},
      {"disconnect now", "wrong number of words: disconnect"},
      {"send", "wrong number of words: send TYPE [DATA]"},
      {"send a b c", "wrong number of words: send TYPE [DATA]"},
      {"send \"a", "open quote"},
      {"request a b", "wrong number of words: request TYPE DATA TIMEOUT_MS"},
      {"on status", "wrong number of words: on EVENT COMMAND..."},
      {"on status connect a", "wrong number of words: connect SERVER PORT"},
      {"on status \"send a\"", R"(unknown command "send a")"},
      {"wait connect 5", R"(EVENT must be status or message, not "connect")"},
      {"connect a 2147483648",
       R"(PORT must be a whole number from -2147483648 to 2147483647, not "2147483648")"},
      {"request a b -1", R"(TIMEOUT_MS must be a whole number from 0 to 2147483647, not "-1")"},
      {"pump 5s", R"(MS must be a whole number from 0 to 2147483647, not "5s")"},
      {"pump \"\"", R"(MS must be a whole number from 0 to 2147483647, not "")"},
      {"use 0", R"(N must be a whole number from 1 to 2147483647, not "0")"},
      {"# send \"", ""},
  };
  for (const auto& one : cases) {
    const ReadResult read = ReadCommand(one.line);
    EXPECT_EQ(read.error, one.error) << one.line;
    EXPECT_FALSE(read.command) << one.line;
  }
}

TEST(CommandReader, RefusesEndlessHandlers) {
  std::string line;
  for (int i = 0; i < kMaxHandlerDepth; ++i) line += "on status ";
  EXPECT_EQ(ReadCommand(line + "quit").error, "");
  EXPECT_EQ(ReadCommand(line + "on status quit").error, "too many handlers within handlers");
}

}  // namespace
}  // namespace tlk::host
