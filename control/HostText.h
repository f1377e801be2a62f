#pragma once

#include <string>
#include <string_view>

#include "platform/AnsiText.h"

namespace tlk {

/// What a host hands over, as it goes onto the wire: its text ends at a zero character.
[[nodiscard]] inline std::string NarrowArgument(const AnsiText& codePage,
                                                std::u16string_view argument) {
  std::string narrow;
  codePage.Narrow(argument.substr(0, argument.find(u'\0')), narrow);
  return narrow;
}

/// What came over the wire, as the host is given it.
[[nodiscard]] inline std::u16string WideResult(const AnsiText& codePage, std::string_view result) {
  std::u16string wide;
  codePage.Widen(result, wide);
  return wide;
}

}  // namespace tlk
