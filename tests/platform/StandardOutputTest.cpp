#include "platform/StandardOutput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "Channels.h"

namespace tlk {

std::string ReadOnce(int reader) {
  std::string text(65536, '\0');
  const auto size = read(reader, text.data(), static_cast<unsigned>(text.size()));
  text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  std::erase(text, '\r');
  return text;
}

std::string Notice(std::ptrdiff_t dropped) {
  return "Lines that could not be printed here: " + std::to_string(dropped) + '\n';
}

// The host stood still for good when nobody read what it had led its standard output to.
TEST(StandardOutputTest, ThatNobodyReadsHoldsNobodyAndTellsLaterWhatItLost) {
  constexpr int kOutput = 1;
  const std::string line = std::string(99, 'x') + '\n';
  for (const auto& [reader, writer] : NewChannels(testing::TempDir())) {
    std::fflush(stdout);
    const int usual = dup(kOutput);
    dup2(writer, kOutput);
    close(writer);
    for (int i = 0; i < 5000; ++i) PrintOnStandardOutput(line);
    std::string text = ReadOnce(reader);
    PrintOnStandardOutput("next\n");
    while (!text.ends_with("next\n")) text += ReadOnce(reader);
    close(reader);
    PrintOnStandardOutput("lost\n");
    dup2(usual, kOutput);
    close(usual);
    std::ptrdiff_t whole = 0;
    for (size_t at = 0; (at = text.find(line, at)) != std::string::npos; at += line.size()) ++whole;
    EXPECT_GT(whole, 0);
    EXPECT_THAT(text, testing::EndsWith('\n' + Notice(5000 - whole) + "next\n"));
  }
  testing::internal::CaptureStdout();
  SilenceStandardOutput();
  PrintOnStandardOutput("silent\n");
  SilenceStandardOutput(false);
  PrintOnStandardOutput("heard\n");
  PrintOnStandardOutput("and nothing lost");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), Notice(1) + "heard\nand nothing lost");
}

}  // namespace tlk
