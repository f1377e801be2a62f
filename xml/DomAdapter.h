#pragma once

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

}  // namespace tlk
