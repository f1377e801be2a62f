#include "tools/tlk/Printable.h"

#include <gtest/gtest.h>

namespace tlk {
namespace {

TEST(Printable, ShowsTextAndEscapesWhatATerminalObeys) {
  const struct {
    std::u16string_view text;
    const char* oneLine;
    const char* manyLines;
  } cases[] = {
      {u"caf\u00E9 \u20AC \U0001F600", "caf\u00E9 \u20AC \U0001F600",
       "caf\u00E9 \u20AC \U0001F600"},
      {u"\x1B[2J\a\x7F\u009B1m", "\\x1B[2J\\x07\\x7F\\x9B1m", "\\x1B[2J\\x07\\x7F\\x9B1m"},
      {u"\u202Egpj\u200B\uFEFF", "\\u{202E}gpj\\u{200B}\\u{FEFF}",
       "\\u{202E}gpj\\u{200B}\\u{FEFF}"},
      {u"a\r\n\tb\rc\n", "a\\x0D\\x0A\\x09b\\x0Dc\\x0A", "a\n\tb\\x0Dc\n"},
      {u"", "", ""},
  };
  for (const auto& [text, oneLine, manyLines] : cases) {
    EXPECT_EQ(Printable(text), oneLine);
    EXPECT_EQ(Printable(text, Layout::kManyLines), manyLines);
  }
  EXPECT_EQ(Printable("\xE9\x81\x1B"), "\u00E9\\x81\\x1B");
}

}  // namespace
}  // namespace tlk
