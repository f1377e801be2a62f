#pragma once

#include <algorithm>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tlk::test {

/// A text, and the place in it that is marked, if one is.
struct MarkedText {
  std::u16string text;
  std::size_t fault = std::u16string::npos;
};

/// In a line \u{HHHH} is a UTF-16 unit by its number; \n, \r and \t are what they are in C++; \!
/// marks a place.
inline MarkedText Unescaped(std::string_view line) {
  MarkedText read;
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (line[at] != '\\') {
      read.text += static_cast<char16_t>(line[at]);
    } else if (line[++at] == 'u') {
      read.text += static_cast<char16_t>(std::stoul(std::string(line.substr(at + 2, 4)), {}, 16));
      at += 6;
    } else if (line[at] == '!') {
      read.fault = read.text.size();
    } else {
      read.text += line[at] == 'n' ? u'\n' : line[at] == 'r' ? u'\r' : u'\t';
    }
  }
  return read;
}

/// As many pieces, each with its number where "#" stands.
inline std::string Times(std::size_t count, const std::string& piece, std::size_t first = 0) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    for (const char c : piece) text += c == '#' ? std::to_string(first + i) : std::string(1, c);
  }
  return text;
}

/// The texts of a file by the word that stands in front of each; "#" begins a comment.
inline std::map<std::string, std::vector<MarkedText>> TextsByWord(const char* path) {
  std::map<std::string, std::vector<MarkedText>> texts;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('#') || line.empty()) continue;
    const std::size_t end = std::min(line.find(' '), line.size() - 1);
    texts[line.substr(0, end)].push_back(Unescaped(line.substr(end + 1)));
  }
  return texts;
}

}  // namespace tlk::test
