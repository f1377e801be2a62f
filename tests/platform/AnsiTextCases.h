#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/AnsiText.h"
#include "platform/Platform.h"

namespace tlk {

inline std::u16string Wide(const AnsiText& text, const std::string& narrow) {
  std::u16string wide = u"left over";
  text.Widen(narrow, wide);
  return wide;
}

inline std::string Narrow(const AnsiText& text, const std::u16string& wide) {
  std::string narrow = "left over";
  text.Narrow(wide, narrow);
  return narrow;
}

/// Anywhere in a text: long stretches of ASCII are converted in blocks.
inline void ExpectBothWaysAnywhere(const AnsiText& text, const std::string& narrow,
                                   const std::u16string& wide) {
  for (std::size_t before = 0; before < 40; ++before) {
    const std::size_t behind = 40 - before;
    const auto longer = std::string(before, 'x') + narrow + std::string(behind, 'y');
    const auto longerWide = std::u16string(before, 'x') + wide + std::u16string(behind, 'y');
    ASSERT_EQ(Wide(text, longer), longerWide);
    ASSERT_EQ(Narrow(text, longerWide), longer);
  }
}

}  // namespace tlk
