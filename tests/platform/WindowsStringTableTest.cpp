#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <span>

#include "platform/Platform.h"
#include "platform/StringTable.h"

// The texts are in windows/strings.rc.
TEST(WindowsStringTable, FindsModulesAndCutsTheirTextsToFit) {
  const tlk::StringTable& strings = tlk::SystemPlatform().strings;
  EXPECT_EQ(strings.FindModule(nullptr), ::GetModuleHandleA(nullptr));
  EXPECT_EQ(strings.FindModule("no such module"), nullptr);
  std::array<char, 100> buffer{};
  EXPECT_EQ(strings.Load(nullptr, 101, buffer), 9);
  EXPECT_STREQ(buffer.data(), "%s and %d");
  EXPECT_EQ(strings.Load(strings.FindModule(nullptr), 101, std::span(buffer).first(5)), 4);
  EXPECT_STREQ(buffer.data(), "%s a");
  EXPECT_EQ(strings.Load(nullptr, 101, {}), 0);
  EXPECT_EQ(strings.Load(nullptr, 102, buffer), 0);
  EXPECT_EQ(strings.Load(nullptr, 0x10000 + 101, buffer), 0) << "the number of another text";
  EXPECT_EQ(strings.Load(strings.FindModule("kErNeL32"), 101, buffer), 0);
}
