#include "tools/tlk/host/LineReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace tlk::host {
namespace {

using testing::ElementsAre;

std::vector<std::string> ReadLines(std::string_view input, std::size_t pieceSize) {
  LineReader lines([&](std::string& bytes) {
    const std::string_view piece = input.substr(0, pieceSize);
    input.remove_prefix(piece.size());
    bytes += piece;
    return !piece.empty();
  });
  std::vector<std::string> all;
  for (std::string line; lines.Next(line);) all.push_back(line);
  return all;
}

TEST(LineReader, CutsTheSameLinesFromPiecesOfAnySize) {
  for (const std::size_t size : {1U, 2U, 3U, 100U}) {
    EXPECT_THAT(ReadLines("one\r\n\ntw\ro\nthree\r\n", size),
                ElementsAre("one", "", "tw\ro", "three"));
    EXPECT_THAT(ReadLines("one\nlast", size), ElementsAre("one", "last"));
    EXPECT_THAT(ReadLines("", size), ElementsAre());
  }
}

TEST(LineReader, AsksForMoreOnlyWithoutALineAtHand) {
  int asked = 0;
  LineReader lines([&](std::string& bytes) {
    bytes += "one\ntwo\nthr";
    return ++asked == 1;
  });
  std::string line;
  ASSERT_TRUE(lines.Next(line) && lines.Next(line));
  EXPECT_EQ(line, "two");
  EXPECT_EQ(asked, 1);
}

}  // namespace
}  // namespace tlk::host
