#include "platform/posix/PosixStringTable.h"

#include <gtest/gtest.h>

#include <string>

namespace tlk {

TEST(PosixStringTable, FindsTextsByModuleAndNumberAndCutsThemToFit) {
  PosixStringTable table;
  const ModuleHandle module = table.Register("Tlkc2", 101, "replaced");
  EXPECT_EQ(table.Register("TLKC2", 101, "%s"), module);
  EXPECT_EQ(table.Register(nullptr, 101, "main"), nullptr);
  const ModuleHandle other = table.Register("AtoZ", 102, "another");
  EXPECT_EQ(table.FindModule("tLKc2"), module);
  EXPECT_EQ(table.FindModule("aTOz"), other);
  EXPECT_EQ(table.FindModule("missing"), nullptr);

  const auto expect = [&](ModuleHandle from, std::uint32_t number, const std::string& text,
                          size_t room = 64) {
    std::string buffer(64, '\0');
    EXPECT_EQ(table.Load(from, number, std::span(buffer).first(room)), std::ssize(text));
    EXPECT_EQ(buffer.c_str(), text);
  };
  expect(module, 101, "%s");
  expect(other, 102, "another");
  expect(module, 102, "");
  expect(&table, 101, "");
  expect(nullptr, 101, "main", 5);
  expect(nullptr, 101, "mai", 4);
  expect(nullptr, 101, "", 1);
  expect(nullptr, 101, "", 0);
}

}  // namespace tlk
