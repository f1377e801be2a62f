#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
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

/// The message of a record, made without touching the heap and cut after 8,192 characters. It may
/// refer to the value that it was made of.
class MessageText {
 public:
  /// Looks the format up and fills in the values; "Unknown message" where there is no such format.
  /// Message 115 without a module is plain text whatever the program's own table says.
  MessageText(const StringTable& strings, ModuleHandle module, std::uint32_t message,
              std::va_list values);
  MessageText(const MessageText&) = delete;
  MessageText& operator=(const MessageText&) = delete;

  [[nodiscard]] std::string_view View() const { return m_view; }

 private:
  static constexpr std::size_t kMaxLength = 8192;

  void Refer(const char* text);
  void Format(const char* format, std::va_list values);

  std::array<char, kMaxLength + 1>
      m_text;  // Left unset beyond the text: it is made for every record.
  std::string_view m_view;
};

/// The part of a source name behind its last backslash.
[[nodiscard]] std::string_view SourceName(const char* source);

/// What follows a source name in the stored line: " - 68)".
class SourceLine {
 public:
  explicit SourceLine(std::int32_t line);

  [[nodiscard]] std::string_view View() const { return {m_text.data(), m_length}; }

 private:
  std::array<char, 16> m_text;
  std::size_t m_length;
};

/// What stands in front of a message in the stored line: time, thread and the severity mark, which
/// is empty for a finished record, as that brings its own.
class RecordStamp {
 public:
  RecordStamp(const LocalTime& now, std::uint32_t thread, std::string_view mark);

  [[nodiscard]] std::string_view View() const { return {m_text.data(), m_length}; }

 private:
  std::array<char, 128> m_text;
  std::size_t m_length;
};

}  // namespace tlk
