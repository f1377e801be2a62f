// What every platform's surroundings hold to.
#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <string>

#include "platform/Platform.h"
#include "platform/Surroundings.h"

namespace tlk {

Surroundings& ThisSystem() { return SystemPlatform().surroundings; }

TEST(SurroundingsContract, CopiesTheTemporaryFolderOnlyWhenItFitsWithItsEnd) {
  std::array<char, 10'000> wide{};
  const std::uint32_t length = ThisSystem().TemporaryFolder(wide);
  const std::string folder(wide.data());
  EXPECT_EQ(folder.size(), length);
  EXPECT_TRUE(folder.ends_with(ThisSystem().PathSeparator()));
  std::string room(length, 'x');
  EXPECT_EQ(ThisSystem().TemporaryFolder(room), length + 1);
  EXPECT_EQ(room, std::string(length, 'x'));
  room += 'x';
  EXPECT_EQ(ThisSystem().TemporaryFolder(room), length);
  EXPECT_EQ(room, folder + '\0');
}

TEST(SurroundingsContract, ItsClocksCount) {
  ProcessTimes first;
  const std::uint64_t start = ThisSystem().TickCount();
  ASSERT_TRUE(ThisSystem().ReadProcessTimes(first));
  EXPECT_LE(std::abs(first.now / 10'000'000 - 11'644'473'600 - std::time(nullptr)), 2);
  ThisSystem().Sleep(30);
  for (int n = 0; n < 30; ++n) ThisSystem().Sleep(1);
  const std::uint64_t slept = ThisSystem().TickCount() - start;
  EXPECT_GE(slept, 43U) << "a clock may step by as much as 16 milliseconds";
  EXPECT_LT(slept, 30'000U);
  ProcessTimes last = first;
  while (last.now - first.now < 2'000'000) ASSERT_TRUE(ThisSystem().ReadProcessTimes(last));
  EXPECT_GT(last.processor, first.processor);
  EXPECT_LT(last.processor - first.processor, 2 * (last.now - first.now));
}

}  // namespace tlk
