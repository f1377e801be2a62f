#include "tools/tlk/FrameExtractor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/tools/Frames.h"

namespace tlk {
namespace {

TEST(FrameExtractor, CutsTheSameFramesHoweverTheStreamIsSplitUpToAFault) {
  const auto first = Stamped("<TLK_Message Length=\"0000000\" Type=\"1\"/>");
  const auto second = Stamped("<TLK_Message Length=\"0000000\"/>");
  const auto stream = first + second + first + std::string(kLengthPrefix, 'x') + first;
  for (std::size_t piece = 1; piece <= stream.size(); ++piece) {
    FrameExtractor frames;
    std::vector<std::string> taken;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
      frames.Append(std::string_view(stream).substr(at, piece));
      while (auto frame = frames.Next()) taken.push_back(*frame);
    }
    ASSERT_THAT(taken, testing::ElementsAre(first, second, first)) << "in pieces of " << piece;
    ASSERT_EQ(frames.Error(), "no length stamp in the first 30 bytes");
    ASSERT_EQ(frames.ErrorOffset(), first.size() + second.size() + first.size());
    ASSERT_EQ(frames.Rest(), "");
  }
}

TEST(FrameExtractor, RefusesAFaultyPrefixAtItsThirtiethByte) {
  constexpr std::size_t kLimit = 40;
  const std::pair<std::string, const char*> cases[] = {
      {"<TLK_Message Width=\"0000098\" L", "no length stamp"},
      {"<TLK_Message    Length=\"000009", "no length stamp"},
      {"<TLK_Message Length=\"12ab567\" ", "\"12ab567\" is not seven digits"},
      {"<TLK_Message Length=\"-000098\" ", "\"-000098\" is not seven digits"},
      {"<TLK_Message Length=\"0000029\" ", "length 29 is below 30"},
      {"<TLK_Message Length=\"0000040\" ", ""},
      {"<TLK_Message Length=\"0000041\" ", "length 41 is above 40"},
  };
  for (const auto& [prefix, error] : cases) {
    FrameExtractor frames(kLimit);
    frames.Append(prefix.substr(0, kLengthPrefix - 1));
    EXPECT_FALSE(frames.Next());
    EXPECT_EQ(frames.Error(), "") << prefix;
    frames.Append(prefix.substr(kLengthPrefix - 1));
    EXPECT_FALSE(frames.Next());
    EXPECT_EQ(frames.Error().empty(), *error == '\0') << prefix;
    EXPECT_THAT(frames.Error(), testing::HasSubstr(error)) << prefix;
  }
}

}  // namespace
}  // namespace tlk
