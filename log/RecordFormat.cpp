#include "log/RecordFormat.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace tlk {

namespace {

constexpr std::size_t kFormatBuffer = 8192;
constexpr std::size_t kMaxStamp = 50;
constexpr std::size_t kStampRoom = 64;
constexpr const char* kUnknownMessage = "Unknown message";

const char* LoadFormat(const StringTable& strings, ModuleHandle module, std::uint32_t message,
                       std::array<char, kFormatBuffer>& buffer) {
  if (module == nullptr && message == kPlainTextMessage) return "%s";
  return strings.Load(module, message, buffer) > 0 ? buffer.data() : kUnknownMessage;
}

// A number with at least so many digits, as "%0.2d" and its like give it.
void AppendNumber(std::string& text, int value, std::ptrdiff_t digits) {
  std::array<char, 16> buffer;
  const unsigned magnitude =
      value < 0 ? 0U - static_cast<unsigned>(value) : static_cast<unsigned>(value);
  const char* end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude).ptr;
  if (value < 0) text += '-';
  for (std::ptrdiff_t length = end - buffer.data(); length < digits; ++length) text += '0';
  text.append(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
}

void AppendStamp(std::string& line, const LocalTime& now) {
  const struct {
    int value;
    char end;
  } parts[] = {{now.month, '/'}, {now.day, '/'},    {now.year, ' '},
               {now.hour, ':'},  {now.minute, ':'}, {now.second, '.'}};
  for (const auto& part : parts) {
    AppendNumber(line, part.value, 2);
    line += part.end;
  }
  AppendNumber(line, now.millisecond, 3);
  if (line.size() > kMaxStamp) line.resize(kMaxStamp);
}

}  // namespace

MessageText::MessageText(const StringTable& strings, ModuleHandle module, std::uint32_t message,
                         std::va_list values) {
  std::array<char, kFormatBuffer> buffer;
  m_text.front() = '\0';
  std::vsnprintf(m_text.data(), m_text.size(), LoadFormat(strings, module, message, buffer),
                 values);
  // A value that cannot be converted ends the text early, so the result does not give its length.
  m_length = std::strlen(m_text.data());
}

std::string_view SourceName(std::string_view source) {
  return source.substr(source.rfind('\\') + 1);
}

std::string StampedLine(const LocalTime& now, std::uint32_t thread,
                        std::initializer_list<std::string_view> record) {
  std::size_t length = kStampRoom;
  for (const std::string_view piece : record) length += piece.size();
  std::string line;
  line.reserve(length);
  AppendStamp(line, now);
  line += "  (";
  AppendNumber(line, static_cast<std::int32_t>(thread), 1);
  line += ") ";
  for (const std::string_view piece : record) line += piece;
  return line;
}

}  // namespace tlk
