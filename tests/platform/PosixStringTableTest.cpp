#include "platform/posix/PosixStringTable.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace tlk {
namespace {

std::string Load(const StringTable& table, ModuleHandle module, std::uint32_t number,
                 size_t room = 64) {
  std::array<char, 64> buffer{};
  const int length = table.Load(module, number, std::span(buffer).first(room));
  EXPECT_EQ(std::string(buffer.data()).size(), static_cast<size_t>(length));
  return buffer.data();
}

TEST(PosixStringTable, FindsTextsByModuleAndNumberAndCutsThemToFit) {
  PosixStringTable table;
  const ModuleHandle module = table.Register("Tlkc2", 101, "replaced");
  EXPECT_EQ(table.Register("TLKC2", 101, "%s"), module);
  EXPECT_EQ(table.Register(nullptr, 101, "main"), nullptr);
  const ModuleHandle other = table.Register("other", 102, "another");

  EXPECT_EQ(table.FindModule("tLKc2"), module);
  EXPECT_EQ(table.FindModule("missing"), nullptr);
  EXPECT_EQ(Load(table, module, 101), "%s");
  EXPECT_EQ(Load(table, nullptr, 101), "main");
  EXPECT_EQ(Load(table, other, 102), "another");
  EXPECT_EQ(Load(table, module, 102), "");
  EXPECT_EQ(Load(table, &table, 101), "");

  EXPECT_EQ(Load(table, nullptr, 101, 5), "main");
  EXPECT_EQ(Load(table, nullptr, 101, 4), "mai");
  EXPECT_EQ(Load(table, nullptr, 101, 1), "");
  EXPECT_EQ(Load(table, nullptr, 101, 0), "");
}

}  // namespace
}  // namespace tlk
