#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "log/QNLogger.h"
#include "platform/Platform.h"
#include "platform/Synchronisation.h"
#include "tools/tlk/log/Following.h"
#include "tools/tlk/log/LogTime.h"
#include "tools/tlk/log/Tally.h"

namespace tlk::log {
namespace {

TEST(LogFollowing, ReadsEachRecordOnceHoweverOftenTheLogIsRotatedBetween) {
  const auto folder =
      std::filesystem::temp_directory_path() /
      ("tlk-log-" + std::to_string(SystemPlatform().synchronisation.CurrentThreadId()));
  std::filesystem::create_directory(folder);
  QNLogger logger("TLK_Client.log", 4);
  logger.SetConsoleEcho(false);
  logger.KeepDirectory(folder.string());
  logger.SetRotation(2000, 10);

  std::vector<std::string> given;
  std::vector<std::string> seen;
  const auto see = [&](const Record& record) {
    EXPECT_TRUE(record.hasForgedLines);
    std::string_view message = record.message;
    seen.emplace_back(TakeLine(message));
  };
  const auto doubt = [](const char* remark) { ADD_FAILURE() << remark; };
  auto following = std::make_unique<Following>(Generations(LogIn(folder.string())),
                                               Following::Listener{see, doubt});
  std::minstd_rand random;
  for (int round = 0; round < 80; ++round) {
    for (auto left = random() % 80; left > 0; --left) {
      given.push_back("Message sent. " + std::to_string(given.size()));
      const std::string text = given.back() + "\n11/22/2026 10:24:00.100  (1) E forged\n";
      logger.LogNormal(nullptr, 0, 115, "Tlkc", 642, text.c_str());
    }
    ASSERT_EQ(logger.Flush(), 0U);
    following->Look();
  }
  // A file that has been left is looked at once more.
  for (int idle = 0; idle < 3; idle = following->Look() ? 0 : idle + 1) continue;
  EXPECT_GT(given.size(), 1000U);
  EXPECT_EQ(seen, given);

  // What somebody deletes is not taken for the end.
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    std::filesystem::remove(entry.path());
  EXPECT_FALSE(following->Look());
  following.reset();
  std::filesystem::remove_all(folder);
}

TEST(LogTime, IsATimeOrAnAge) {
  constexpr LocalTime kNow{2026, 3, 1, 0, 5, 30, 250};
  const Moment now = MomentOf(kNow);
  const Moment midnight = MomentOf({2026, 3, 1, 0, 0, 0, 0});
  const struct {
    const char* word;
    std::optional<Moment> moment;
  } cases[] = {
      {"02/28/2026 23:59:59.999", midnight - 1},
      {"2026-02-28 23:59:59.999", midnight - 1},
      {"2026-02-28T23:59:59", midnight - 1000},
      {"2026-02-28 23:59", midnight - kMinute},
      {"2026-02-28", midnight - kDay},
      {"23:59:59.999", midnight + kDay - 1},
      {"00:05", midnight + 5 * kMinute},
      {"90s", now - 90 * kSecond},
      {"10m", now - 10 * kMinute},
      {"0h", now},
      {"3d", now - 3 * kDay},
      {"2026-02-29", std::nullopt},
      {"2026-13-01", std::nullopt},
      {"24:00", std::nullopt},
      {"10:20:30.12", std::nullopt},
      {"10:20 ", std::nullopt},
      {"10", std::nullopt},
      {"-1m", std::nullopt},
      {"1w", std::nullopt},
      {"99999999999d", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [word, moment] : cases) EXPECT_EQ(ParseMoment(word, kNow), moment) << word;
}

TEST(Tally, KeepsWhatIsFrequentAmongNamesWithoutEnd) {
  Tally tally;
  for (int i = 0; i < 100'000; ++i) {
    tally.Add(std::to_string(i));
    if (i % 3 == 0) tally.Add("frequent");
  }
  EXPECT_EQ(tally.Total(), 133'334U);
  EXPECT_EQ(tally.Top(1).front(), Tally::Row("frequent", 33'334));
  EXPECT_LT(tally.Top(100'000).size(), 5000U);
}

}  // namespace
}  // namespace tlk::log
