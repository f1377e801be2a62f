#include "xml/SourceText.h"

#include <cstddef>

#include "platform/AnsiText.h"

namespace tlk {
namespace {

constexpr std::u16string_view kBroken = u"\uFFFD";
constexpr std::u16string_view kBrokenBeforeEnd = u"\uFFFD>";

bool Holds(const AnsiText& codePage, std::u16string_view character) {
  std::string narrow;
  codePage.Narrow(character, narrow);
  return narrow != "?";
}

}  // namespace

void WidenSource(const AnsiText& codePage, std::string_view narrow, std::u16string& wide) {
  codePage.Widen(narrow, wide);
  if (codePage.IsSingleByte()) return;
  std::size_t at = wide.find(kBrokenBeforeEnd);
  if (at == std::u16string::npos || Holds(codePage, kBroken)) return;
  for (; at != std::u16string::npos; at = wide.find(kBrokenBeforeEnd, at)) wide[at] = u' ';
}

}  // namespace tlk
