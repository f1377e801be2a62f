#include "tools/tlk/serve/Indentation.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace tlk::serve {
namespace {

constexpr std::string_view kLineBreak = "\r\n";

struct Markup {
  std::string_view begin;
  std::string_view end;
};

/// The first that fits counts: what only looks like a tag within one of the upper three is text.
constexpr Markup kMarkups[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}, {"<", ">"}};

/// Where the next tag or the like ends; the end of the text when there is none.
std::size_t FindEndOfMarkup(std::string_view text) {
  const auto begin = std::min(text.find('<'), text.size());
  const auto* const markup = std::find_if(
      std::begin(kMarkups), std::end(kMarkups),
      [&](const Markup& known) { return text.substr(begin).starts_with(known.begin); });
  if (markup == std::end(kMarkups)) return text.size();
  const auto end = text.find(markup->end, begin + markup->begin.size());
  return end == std::string_view::npos ? text.size() : end + markup->end.size();
}

/// How much of the text, which begins behind a tag, is indentation.
std::size_t MeasureIndentation(std::string_view text) {
  if (!text.starts_with(kLineBreak)) return 0;
  const auto end = std::min(text.find_first_not_of('\t', kLineBreak.size()), text.size());
  return end == text.size() || text[end] == '<' ? end : 0;
}

}  // namespace

std::string WithoutIndentation(std::string_view text) {
  if (text.find(kLineBreak) == std::string_view::npos) return std::string(text);
  std::string kept;
  for (auto rest = text; !rest.empty();) {
    const auto end = FindEndOfMarkup(rest);
    kept += rest.substr(0, end);
    rest.remove_prefix(end);
    rest.remove_prefix(MeasureIndentation(rest));
  }
  return kept;
}

}  // namespace tlk::serve
