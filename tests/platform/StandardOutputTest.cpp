#include "platform/StandardOutput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Channels.h"

namespace tlk {
namespace {

constexpr int kStandardOutput = 1;
constexpr int kPrinted = 5000;

/// Leads standard output into a channel, which it closes at that end.
class OutputTo {
 public:
  explicit OutputTo(int writer) : m_usual(dup(kStandardOutput)) {
    std::fflush(stdout);
    dup2(writer, kStandardOutput);
    close(writer);
  }
  ~OutputTo() {
    dup2(m_usual, kStandardOutput);
    close(m_usual);
  }

 private:
  const int m_usual;
};

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
  for (const Channel& channel : NewChannels(testing::TempDir())) {
    SCOPED_TRACE(channel.kind);
    const std::string line = std::string(99, 'x') + '\n';
    std::string text;
    {
      const OutputTo output(channel.writer);
      for (int i = 0; i < kPrinted; ++i) PrintOnStandardOutput(line);
      text = ReadOnce(channel.reader);
      PrintOnStandardOutput("next\n");
    }
    for (std::string more; !(more = ReadOnce(channel.reader)).empty();) text += more;
    close(channel.reader);
    std::ptrdiff_t whole = 0;
    for (size_t at = 0; (at = text.find(line, at)) != std::string::npos; at += line.size()) ++whole;
    EXPECT_GT(whole, 0);
    EXPECT_THAT(text, testing::EndsWith('\n' + Notice(kPrinted - whole) + "next\n"));
  }
}

TEST(StandardOutputTest, WhoseReaderHasGoneEndsNobody) {
  const std::vector<Channel> channels = NewChannels(testing::TempDir());
  for (const Channel& channel : channels) {
    close(channel.reader);
    const OutputTo output(channel.writer);
    PrintOnStandardOutput("lost\n");
  }
  testing::internal::CaptureStdout();
  SilenceStandardOutput();
  PrintOnStandardOutput("silent\n");
  SilenceStandardOutput(false);
  PrintOnStandardOutput("heard\n");
  PrintOnStandardOutput("and nothing lost");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            Notice(std::ssize(channels)) + "heard\nand nothing lost");
}

}  // namespace
}  // namespace tlk
