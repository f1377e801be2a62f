#pragma once

#include <string>
#include <string_view>

namespace tlk {

class AnsiText;

/// Widens the text of a document for a DOM to read. A character in front of ">" that the code page
/// does not give back, such as a broken one, becomes a blank: it would be written as "?", and end
/// an instruction.
void WidenSource(const AnsiText& codePage, std::string_view narrow, std::u16string& wide);

}  // namespace tlk
