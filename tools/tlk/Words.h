#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tlk {

/// Splits a command line into words, which blanks and tabs separate.
///
/// A word that begins with a double quote goes on to the next one and may hold blanks and the
/// escapes
/// `\"` `\\` `\n` `\r` `\t` `\xHH`, the last for any byte. Behind its closing quote there must be a
/// blank or the end of the line. In any other word quotes and backslashes stand for themselves.
///
/// Returns false when the line is not to be split, and says in `error` what is wrong with it;
/// `words` then holds the words before the bad one.
[[nodiscard]] bool SplitWords(std::string_view line, std::vector<std::string>& words,
                              std::string& error);

/// Where the words of a line begin, as offsets into it.
struct WordPlaces {
  std::vector<std::size_t> begins;  ///< Of each word, the bad one included.
  std::size_t fault = 0;            ///< Where the bad one goes wrong.
};

/// The same, and says where.
[[nodiscard]] bool SplitWords(std::string_view line, std::vector<std::string>& words,
                              std::string& error, WordPlaces& places);

/// A text in double quotes. A quote and a backslash get a backslash before them; every byte below
/// 0x20 or above 0x7E becomes `\xHH`. `SplitWords` gives the text back.
[[nodiscard]] std::string Quote(std::string_view text);

}  // namespace tlk
