#include "xml/DomAdapter.h"

#include <algorithm>
#include <cstddef>

#include "platform/AnsiText.h"

namespace tlk {
namespace {

bool EndsLost(const AnsiText& codePage, std::u16string_view wide) {
  if (wide.empty() || wide.back() < 0x80) return false;
  std::string narrow;
  codePage.Narrow(wide.substr(wide.size() - std::min<std::size_t>(wide.size(), 2)), narrow);
  return narrow.back() == '?';
}

}  // namespace

void WidenSource(const AnsiText& codePage, std::string_view narrow, std::u16string& wide) {
  codePage.Widen(narrow, wide);
  if (codePage.IsSingleByte()) return;
  const std::u16string_view text = wide;
  for (std::size_t at = text.find(u'>'); at != text.npos; at = text.find(u'>', at + 1))
    if (EndsLost(codePage, text.substr(0, at))) wide[at - 1] = u' ';
}

}  // namespace tlk
