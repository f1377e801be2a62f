#include "tools/tlk/Printable.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "platform/Utf8.h"
#include "tools/tlk/Words.h"

namespace tlk {
namespace {

struct Range {
  char16_t first;
  char16_t last;
};

/// What a terminal obeys or does not show, all of it in the first plane.
constexpr Range kUnprintable[] = {
    {0x0000, 0x001F}, {0x007F, 0x009F}, {0x00AD, 0x00AD}, {0x061C, 0x061C},
    {0x180E, 0x180E}, {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F},
    {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFF0, 0xFFFB},
};

bool IsPrintable(char16_t character) {
  return std::none_of(std::begin(kUnprintable), std::end(kUnprintable), [&](const Range& range) {
    return range.first <= character && character <= range.last;
  });
}

void AppendEscape(std::string& text, char16_t character) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  const bool isByte = character < 0x100;
  text += isByte ? "\\x" : "\\u{";
  for (unsigned shift = isByte ? 8 : 16; shift != 0;) {
    shift -= 4;
    text += kHexDigits[(character >> shift) & 0xFU];
  }
  if (!isByte) text += '}';
}

bool IsLayout(std::u16string_view rest) {
  return rest.front() == u'\n' || rest.front() == u'\t' || rest.starts_with(u"\r\n");
}

/// Where the text in quotes that begins there ends, behind its quote.
std::size_t EndOfQuoted(std::string_view line, std::size_t begin) {
  std::size_t end = begin + 1;
  while (end < line.size() && line[end] != '"') end += line[end] == '\\' ? 2 : 1;
  return std::min(end + 1, line.size());
}

std::string QuoteShown(std::string_view ansi) {
  std::u16string wide;
  SystemPlatform().text.Widen(ansi, wide);
  std::u16string escaped;
  for (const char16_t character : wide) {
    if (character == u'"' || character == u'\\') escaped += u'\\';
    escaped += character;
  }
  return '"' + Printable(escaped) + '"';
}

}  // namespace

std::string Printable(std::u16string_view text, Layout layout) {
  std::string shown;
  std::size_t begin = 0;  // Of what is printable and not yet taken.
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsPrintable(text[i])) continue;
    AppendUtf8(text.substr(begin, i - begin), shown);
    begin = i + 1;
    if (layout == Layout::kOneLine || !IsLayout(text.substr(i))) {
      AppendEscape(shown, text[i]);
    } else if (text[i] != u'\r') {
      shown += static_cast<char>(text[i]);
    }
  }
  AppendUtf8(text.substr(begin), shown);
  return shown;
}

std::string Printable(std::string_view ansi, Layout layout) {
  std::u16string wide;
  SystemPlatform().text.Widen(ansi, wide);
  return Printable(wide, layout);
}

std::string ShowQuoted(std::string_view line) {
  std::string shown;
  std::vector<std::string> words;
  std::string error;
  for (std::size_t begin = 0; (begin = line.find('"')) != std::string_view::npos;) {
    const std::size_t end = EndOfQuoted(line, begin);
    const std::string_view quoted = line.substr(begin, end - begin);
    shown += line.substr(0, begin);
    shown += SplitWords(quoted, words, error) ? QuoteShown(words.front()) : std::string(quoted);
    line.remove_prefix(end);
  }
  return shown.append(line);
}

}  // namespace tlk
