#pragma once

#include <string>
#include <string_view>

namespace tlk {

/// Whether every byte is below 0x80.
[[nodiscard]] bool IsAscii(std::string_view text);

/// Replaces `utf8` by `wide`. What XML cannot hold, half a surrogate pair, U+FFFE and U+FFFF,
/// becomes
/// "?".
void Utf16ToUtf8(std::u16string_view wide, std::string& utf8);

/// Replaces `wide` by `utf8`. What is not UTF-8 becomes U+FFFD.
void Utf8ToUtf16(std::string_view utf8, std::u16string& wide);

}  // namespace tlk
