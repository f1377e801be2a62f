#include "tools/tlk/host/LineReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace tlk::host {
namespace {

TEST(LineReader, CutsTheSameLinesFromPiecesOfAnySize) {
  for (const std::size_t size : {1U, 2U, 3U, 100U}) {
    std::string_view input = "one\r\n\ntw\ro\nlast";
    LineReader lines([&](std::string& bytes) {
      const std::string_view piece = input.substr(0, size);
      input.remove_prefix(piece.size());
      bytes += piece;
      return !piece.empty();
    });
    std::vector<std::string> all;
    for (std::string line; lines.Next(line);) all.push_back(line);
    EXPECT_THAT(all, testing::ElementsAre("one", "", "tw\ro", "last")) << size;
  }
}

}  // namespace
}  // namespace tlk::host
