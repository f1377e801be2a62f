#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "platform/AnsiText.h"
#include "platform/Platform.h"

namespace tlk {

inline std::u16string Converted(const AnsiText& text, const std::string& narrow) {
  std::u16string wide = u"left over";
  text.Widen(narrow, wide);
  return wide;
}

inline std::string Converted(const AnsiText& text, const std::u16string& wide) {
  std::string narrow = "left over";
  text.Narrow(wide, narrow);
  return narrow;
}

template <typename Text>
Text Decoded(const std::string& signs) {
  std::istringstream words(signs);
  Text text;
  for (std::string sign; words >> sign;) {
    const int number = sign.size() == 1 ? sign[0] : std::stoi(sign, nullptr, 16);
    text += static_cast<typename Text::value_type>(number);
  }
  return text;
}

/// Plays the lines of code-pages.txt for one page, and tells how many there were.
inline int ExpectConversions(const AnsiText& text, const std::string& name) {
  std::ifstream file(TLKC2_CODE_PAGES);
  int count = 0;
  for (std::string page, way, signs; file >> page >> way && std::getline(file, signs);) {
    if (page != name) continue;
    ++count;
    SCOPED_TRACE(page + signs);
    const std::size_t middle = signs.find(" =");
    const auto narrow = Decoded<std::string>(signs.substr(0, middle));
    const auto wide = Decoded<std::u16string>(signs.substr(middle + 2));
    EXPECT_TRUE(way == "narrow" || Converted(text, narrow) == wide);
    EXPECT_TRUE(way == "wide" || Converted(text, wide) == narrow);
    // Anywhere in a text: long stretches of ASCII are converted in blocks.
    for (std::size_t before = 0; way == "both" && before < 40; ++before) {
      const auto longer = std::string(before, 'x') + narrow + std::string(40 - before, 'y');
      const auto longerWide = std::u16string(before, 'x') + wide + std::u16string(40 - before, 'y');
      EXPECT_EQ(Converted(text, longer), longerWide);
      EXPECT_EQ(Converted(text, longerWide), longer);
    }
  }
  return count;
}

}  // namespace tlk
