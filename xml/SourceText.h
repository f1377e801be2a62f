#pragma once

#include <string>
#include <string_view>

namespace tlk {

class AnsiText;

/// Widens the text of a document for a DOM to read. A broken character in front of ">" becomes a
/// blank where the code page lacks U+FFFD: it would be written as "?", and end an instruction.
void WidenSource(const AnsiText& codePage, std::string_view narrow, std::u16string& wide);

}  // namespace tlk
