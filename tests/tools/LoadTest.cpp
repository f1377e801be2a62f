#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/tlk/load/HeadReader.h"
#include "tools/tlk/load/LatencyHistogram.h"
#include "tools/tlk/load/LoadText.h"
#include "tools/tlk/load/Schedule.h"

namespace {

using namespace tlk::load;

TEST(LatencyHistogramTest, GivesPercentilesWithinOnePercent) {
  LatencyHistogram histogram;
  EXPECT_EQ(histogram.Percentile(50), 0U);
  std::vector<std::uint64_t> times;
  for (double time = 1; time < 2e11; time *= 1.003) {
    times.push_back(static_cast<std::uint64_t>(time));
    histogram.Add(times.back());
  }
  const auto count = static_cast<double>(times.size());
  for (double percent = 0.5; percent <= 100; percent += 0.5) {
    const auto rank = static_cast<std::size_t>(std::ceil(count * percent / 100));
    const auto exact = static_cast<double>(times[rank - 1]);
    EXPECT_NEAR(static_cast<double>(histogram.Percentile(percent)), exact, exact / 100) << percent;
  }
  EXPECT_EQ(histogram.Greatest(), times.back());
  histogram.Add(UINT64_MAX);
  EXPECT_EQ(histogram.Greatest(), LatencyHistogram::kMost);
  EXPECT_EQ(histogram.Count(), times.size() + 1);
}

TEST(LoadTextTest, WritesWhatAControlWould) {
  EXPECT_EQ(KeepAliveText(7),
            R"(<TLK_Message Length="0000108" xmlns="" Type="Keep Connection Alive">)"
            R"(<From Id="7"/><To Id="0"/></TLK_Message>)");
  const LoadText text(0xabc, LoadText::kLeastSize);
  std::string message;
  text.WriteHead(INT32_MIN, {9999999, 9999999999999}, message);
  message += text.Tail(message.size());
  EXPECT_EQ(message,
            R"(<TLK_Message Length="0000200" xmlns="" Type="Load"><From Id="-2147483648"/>)"
            R"(<To Id="0"/><Data><Load>00000abc-9999999-9999999999999-)" +
                std::string(200 - 158, 'x') + "</Load></Data></TLK_Message>");
  EXPECT_EQ(text.FindMark(message)->client, 9999999U);
  EXPECT_EQ(text.FindMark(message)->due, 9999999999999U);
  EXPECT_FALSE(LoadText(0xabd, LoadText::kLeastSize).FindMark(message));
  for (std::size_t length = 0; length < message.find("9999-x"); ++length) {
    EXPECT_FALSE(text.FindMark(std::string_view(message).substr(0, length))) << length;
  }
}

TEST(LoadTextTest, ReadsWhatAControlLooksAt) {
  EXPECT_EQ(ReadReceiver("<a><From Id='5'/><To Id='-7' /><Data/></a>"), -7);
  EXPECT_EQ(ReadReceiver("<a><To x='1' Id=\"y\"/></a>"), 0);
  EXPECT_FALSE(ReadReceiver("<a><To/><Data Id='5'/></a>"));
  EXPECT_FALSE(ReadReceiver("<a><To Id="));
  EXPECT_TRUE(IsKeepAliveAnswer("<a Type=\"Keep Connection Alive Response\"><To/></a>"));
  EXPECT_FALSE(IsKeepAliveAnswer("<a Type='keep Connection Alive Response'><To/></a>"));
  EXPECT_FALSE(IsKeepAliveAnswer("<a><To Type='Keep Connection Alive Response'/></a>"));
}

TEST(HeadReaderTest, CutsMessagesAndKeepsTheirHeads) {
  const std::string small = R"(<m Length="0000031" Type="a"/> )";
  const std::string large = R"(<m Length="0009000">)" + std::string(8980, 'x');
  const std::string stream = small + large + small;
  for (const std::size_t step : {1U, 29U, 31U, 10000U}) {
    HeadReader reader;
    std::vector<std::string> heads;
    for (std::size_t at = 0; at < stream.size(); at += step) {
      EXPECT_TRUE(reader.Append(std::string_view(stream).substr(at, step),
                                [&](std::string_view head) { heads.emplace_back(head); }));
    }
    EXPECT_EQ(heads, (std::vector<std::string>{small, large.substr(0, HeadReader::kHead), small}));
  }
  for (const char* stamp : {"0000029", "0000000", "-000031", "abc0031"}) {
    const auto bad = R"(<m Length=")" + std::string(stamp) + R"(" Type="a"/> )";
    EXPECT_FALSE(HeadReader().Append(bad, [](std::string_view) { FAIL(); })) << stamp;
  }
}

TEST(ScheduleTest, HasEachMessageDueAtItsPartOfASecond) {
  const Schedule schedule(10'000'000);
  using std::chrono::nanoseconds;
  EXPECT_EQ(schedule.DueOf(3), nanoseconds(300));
  EXPECT_EQ(schedule.DueOf(schedule.CountBefore(std::chrono::hours(24)) - 1),
            std::chrono::hours(24) - nanoseconds(100));
  for (const std::uint64_t rate : {1U, 3U, 7U, 9'999'999U}) {
    const Schedule odd(rate);
    EXPECT_EQ(odd.CountBefore(nanoseconds(0)), 0U);
    EXPECT_EQ(odd.CountBefore(nanoseconds(1)), 1U);
    EXPECT_EQ(odd.CountBefore(std::chrono::seconds(5)), 5 * rate);
  }
}

}  // namespace
