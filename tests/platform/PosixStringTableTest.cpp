#include "platform/posix/PosixStringTable.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "platform/Platform.h"

namespace tlk {
namespace {

std::string Load(const StringTable& table, ModuleHandle module, std::uint32_t number) {
  std::array<char, 64> buffer{};
  const int length = table.Load(module, number, buffer);
  EXPECT_EQ(std::string(buffer.data()).size(), static_cast<size_t>(length));
  return buffer.data();
}

TEST(PosixStringTable, FindsTextsByModuleAndNumber) {
  PosixStringTable table;
  const ModuleHandle module = table.Register("Tlkc2", 101, "%s");
  EXPECT_EQ(table.Register("TLKC2", 102, "two"), module);
  EXPECT_EQ(table.Register(nullptr, 101, "main"), nullptr);
  const ModuleHandle other = table.Register("other", 101, "another");

  EXPECT_EQ(table.FindModule("tLKc2"), module);
  EXPECT_EQ(table.FindModule("missing"), nullptr);
  EXPECT_EQ(Load(table, module, 101), "%s");
  EXPECT_EQ(Load(table, module, 102), "two");
  EXPECT_EQ(Load(table, nullptr, 101), "main");
  EXPECT_EQ(Load(table, other, 101), "another");
  EXPECT_EQ(Load(table, module, 103), "");
  EXPECT_EQ(Load(table, nullptr, 102), "");
  EXPECT_EQ(Load(table, &table, 101), "");
  table.Register("Tlkc2", 101, "replaced");
  EXPECT_EQ(Load(table, module, 101), "replaced");
}

TEST(PosixStringTable, CutsATextToFitItsBuffer) {
  PosixStringTable table;
  table.Register(nullptr, 1, "12345");
  std::array<char, 6> buffer{};
  EXPECT_EQ(table.Load(nullptr, 1, buffer), 5);
  EXPECT_STREQ(buffer.data(), "12345");
  EXPECT_EQ(table.Load(nullptr, 1, std::span(buffer).first(3)), 2);
  EXPECT_STREQ(buffer.data(), "12");
  EXPECT_EQ(table.Load(nullptr, 1, std::span(buffer).first(1)), 0);
  EXPECT_EQ(table.Load(nullptr, 1, {}), 0);
}

TEST(PosixStringTable, OfTheSystemCanBeFilled) {
  const ModuleHandle module = SystemStringTable().Register("string table test", 7, "seven");
  EXPECT_EQ(SystemPlatform().strings.FindModule("String Table Test"), module);
  EXPECT_EQ(Load(SystemPlatform().strings, module, 7), "seven");
}

}  // namespace
}  // namespace tlk
