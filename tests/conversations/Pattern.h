#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tlk::conversations {

/// Whether a sequence fits a pattern in which a star stands for any number of elements, none
/// included.
template <typename Pattern, typename Text, typename IsStar, typename Fits>
bool FitsPattern(const Pattern& pattern, const Text& text, IsStar isStar, Fits fits) {
  std::size_t inPattern = 0;
  std::size_t inText = 0;
  std::size_t behindStar = pattern.size() + 1;  // none yet
  std::size_t coveredByStar = 0;
  while (inText < text.size()) {
    if (inPattern < pattern.size() && isStar(pattern[inPattern])) {
      behindStar = ++inPattern;
      coveredByStar = inText;
    } else if (inPattern < pattern.size() && fits(pattern[inPattern], text[inText])) {
      ++inPattern;
      ++inText;
    } else if (behindStar <= pattern.size()) {
      inPattern = behindStar;
      inText = ++coveredByStar;
    } else {
      return false;
    }
  }
  while (inPattern < pattern.size() && isStar(pattern[inPattern])) {
    ++inPattern;
  }
  return inPattern == pattern.size();
}

/// Whether a line fits a pattern, in which `*` stands for any text.
[[nodiscard]] bool LineFits(std::string_view pattern, std::string_view line);

/// Whether lines fit patterns, among which a lone `*` stands for any number of lines.
[[nodiscard]] bool LinesFit(std::span<const std::string> patterns,
                            std::span<const std::string> lines);

/// The records of a trace log without their time and thread, written as in a conversation file: a
/// line break is `\n`, and what cannot be printed `\xHH`.
[[nodiscard]] std::vector<std::string> ReadRecords(std::string_view log);

/// The lines of a text.
[[nodiscard]] std::vector<std::string> SplitLines(std::string_view text);

}  // namespace tlk::conversations
