#pragma once

#include <cstddef>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "xml/Dom.h"

/// What every adapter of a DOM needs.

namespace tlk {

class AnsiText;

/// Runs an operation of a DOM so that nothing leaves it but its result.
template <typename Operation>
[[nodiscard]] DomResult Contained(Operation operation) noexcept {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    return kDomOutOfMemory;
  } catch (const std::exception&) {
    return kDomFailed;
  }
}

/// Widens the text of a document for a DOM to read. A character in front of ">" that the code page
/// does not give back, such as a broken one, becomes a blank: it would be written as "?", and end
/// an instruction.
void WidenSource(const AnsiText& codePage, std::string_view narrow, std::u16string& wide);

/// Turns every end of line into a line feed, as XML reads it. Not every DOM keeps a blank beside
/// one that is left to it.
template <typename Text>
void NormaliseLineEnds(Text& text) {
  std::size_t from = text.find('\r');
  if (from == Text::npos) return;
  std::size_t to = from;
  for (; from < text.size(); ++from) {
    const bool joined = text[from] == '\r' && from + 1 < text.size() && text[from + 1] == '\n';
    if (joined) continue;
    text[to++] = text[from] == '\r' ? '\n' : text[from];
  }
  text.resize(to);
}

}  // namespace tlk
