#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "platform/StringTable.h"
#include "platform/Surroundings.h"

namespace tlk {

/// The message number, without module, of a record whose text is its only value.
inline constexpr std::uint32_t kPlainTextMessage = 115;

namespace severity_mark {
inline constexpr std::string_view kNormal = "N ";
inline constexpr std::string_view kWarning = "W ";
inline constexpr std::string_view kError = "E ";
}  // namespace severity_mark

/// What a record says beside its values.
struct RecordHead {
  std::string_view mark;
  ModuleHandle module;
  std::uint32_t message;
  const char* source;
  std::int32_t line;
};

/// The message of a record, formatted without touching the heap and cut after 8,192 characters.
class MessageText {
 public:
  /// Looks the format up and fills in the values; "Unknown message" where there is no such format.
  /// Message 115 without a module is plain text whatever the program's own table says.
  MessageText(const StringTable& strings, ModuleHandle module, std::uint32_t message,
              std::va_list values);

  [[nodiscard]] std::string_view View() const { return {m_text.data(), m_length}; }

 private:
  std::array<char, 8193> m_text;  // Left unset beyond the text: it is made for every record.
  std::size_t m_length;
};

/// The part of a source name behind its last backslash.
[[nodiscard]] std::string_view SourceName(std::string_view source);

/// The stored line: time, thread and the pieces of the record.
[[nodiscard]] std::string StampedLine(const LocalTime& now, std::uint32_t thread,
                                      std::initializer_list<std::string_view> record);

}  // namespace tlk
