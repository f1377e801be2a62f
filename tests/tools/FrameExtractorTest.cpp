#include "tools/tlk/serve/FrameExtractor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/tools/Frames.h"

namespace tlk::serve {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> TakeAll(FrameExtractor& frames) {
  std::vector<std::string> taken;
  while (auto frame = frames.Next()) {
    taken.push_back(*frame);
  }
  return taken;
}

TEST(FrameExtractor, CutsTheSameFramesHoweverTheStreamIsSplit) {
  const auto first = Stamped("<TLK_Message Length=\"0000000\" Type=\"1\"/>");
  const auto second = Stamped("<TLK_Message Length=\"0000000\"/>");
  const auto stream = first + second + first;
  for (std::size_t piece = 1; piece <= stream.size(); ++piece) {
    FrameExtractor frames;
    std::vector<std::string> taken;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
      frames.Append(std::string_view(stream).substr(at, piece));
      for (auto& frame : TakeAll(frames)) {
        taken.push_back(std::move(frame));
      }
    }
    ASSERT_THAT(taken, ElementsAre(first, second, first)) << "in pieces of " << piece;
    ASSERT_EQ(frames.Waiting(), 0U);
  }
}

TEST(FrameExtractor, GivesWhatCameBeforeAFaultAndNothingAfterIt) {
  const auto good = Stamped("<TLK_Message Length=\"0000000\"/>");
  FrameExtractor frames;
  frames.Append(good + std::string(kLengthPrefix, 'x') + good);
  EXPECT_THAT(TakeAll(frames), ElementsAre(good));
  EXPECT_EQ(frames.Error(), "no length stamp in the first 30 bytes");
  frames.Append(good);
  EXPECT_THAT(TakeAll(frames), IsEmpty());
  EXPECT_EQ(frames.Waiting(), 0U);
}

TEST(FrameExtractor, TakesMessagesUpToItsLimit) {
  constexpr std::size_t kLimit = 40;
  std::string longest = Stamped("<TLK_Message Length=\"0000000\"/>         ");
  ASSERT_EQ(longest.size(), kLimit);
  FrameExtractor frames(kLimit);
  frames.Append(longest);
  EXPECT_THAT(TakeAll(frames), ElementsAre(longest));
  frames.Append("<TLK_Message Length=\"0000041\"/");
  EXPECT_THAT(TakeAll(frames), IsEmpty());
  EXPECT_EQ(frames.Error(), "length 41 is above 40");
}

struct FaultyPrefix {
  const char* prefix;
  const char* error;
};

void PrintTo(const FaultyPrefix& faulty, std::ostream* out) { *out << faulty.prefix; }

class FrameExtractorRefuses : public testing::TestWithParam<FaultyPrefix> {};

TEST_P(FrameExtractorRefuses, AFaultyPrefixAtItsThirtiethByte) {
  const std::string prefix = GetParam().prefix;
  ASSERT_EQ(prefix.size(), kLengthPrefix);
  FrameExtractor frames;
  frames.Append(prefix.substr(0, kLengthPrefix - 1));
  EXPECT_THAT(TakeAll(frames), IsEmpty());
  EXPECT_EQ(frames.Error(), "");
  frames.Append(prefix.substr(kLengthPrefix - 1));
  EXPECT_THAT(TakeAll(frames), IsEmpty());
  EXPECT_THAT(frames.Error(), HasSubstr(GetParam().error));
}

INSTANTIATE_TEST_SUITE_P(
    Stamps, FrameExtractorRefuses,
    testing::Values(
        FaultyPrefix{"<TLK_Message Width=\"0000098\" L", "no length stamp"},
        FaultyPrefix{"<TLK_Message    Length=\"000009", "no length stamp"},
        FaultyPrefix{"<TLK_Message Length=\"12ab567\" ", "\"12ab567\" is not seven digits"},
        FaultyPrefix{"<TLK_Message Length=\"-000098\" ", "\"-000098\" is not seven digits"},
        FaultyPrefix{"<TLK_Message Length=\"     98\" ", "\"     98\" is not seven digits"},
        FaultyPrefix{"<TLK_Message Length=\"0000000\" ", "length 0 is below 30"},
        FaultyPrefix{"<TLK_Message Length=\"0000029\" ", "length 29 is below 30"}));

}  // namespace
}  // namespace tlk::serve
