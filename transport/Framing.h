#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tlk {

/// The framing of the wire: messages lie back to back with nothing between them, and each carries
/// its own length in bytes, first byte to last, in the first attribute of its root:
///
///     <TLK_Message Length="0000098" xmlns="" Type="...">
///
/// The stamp is always seven digits, so it lies within the first 29 bytes. A receiver reads a
/// prefix of 30 bytes, finds the stamp, and then reads exactly the rest.

/// What stands before the seven digits.
inline constexpr std::string_view kLengthMarker = "Length=\"";
inline constexpr std::size_t kLengthDigits = 7;

/// The bytes that a receiver reads before it looks for the stamp.
inline constexpr std::size_t kLengthPrefix = 30;

/// The longest message that can be framed.
inline constexpr std::size_t kMaxMessageLength = 9999999;

/// The length stamp of a text, or -1 when it has none. Of the seven characters behind the marker it
/// reads what a C program reads with `atoi`: "12ab567" is 12. A stamp that reads as 0 is none; a
/// negative one is returned as it is, and whoever frames a message treats everything below 1 alike.
[[nodiscard]] std::int32_t GetMessageLength(std::string_view text);

}  // namespace tlk
