#include "log/RecordFormat.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace tlk {

namespace {

constexpr std::size_t kFormatBuffer = 8192;
constexpr std::ptrdiff_t kMaxTime = 50;
constexpr const char* kUnknownMessage = "Unknown message";
constexpr const char* kPlainText = "%s";

const char* LoadFormat(const StringTable& strings, ModuleHandle module, std::uint32_t message,
                       std::array<char, kFormatBuffer>& buffer) {
  if (module == nullptr && message == kPlainTextMessage) return kPlainText;
  return strings.Load(module, message, buffer) > 0 ? buffer.data() : kUnknownMessage;
}

// A number with at least so many digits, as "%0.2d" and its like give it; returns its end.
char* PutNumber(char* text, int value, std::size_t digits) {
  auto left = value < 0 ? 0U - static_cast<unsigned>(value) : static_cast<unsigned>(value);
  if (value < 0) *text++ = '-';
  std::array<char, 16> reversed;
  std::size_t count = 0;
  for (; left > 0 || count < digits; left /= 10)
    reversed[count++] = static_cast<char>('0' + left % 10);
  while (count > 0) *text++ = reversed[--count];
  return text;
}

char* PutTime(char* text, const LocalTime& now) {
  const struct {
    int value;
    char end;
  } parts[] = {{now.month, '/'}, {now.day, '/'},    {now.year, ' '},
               {now.hour, ':'},  {now.minute, ':'}, {now.second, '.'}};
  char* end = text;
  for (const auto& part : parts) {
    end = PutNumber(end, part.value, 2);
    *end++ = part.end;
  }
  return std::min(PutNumber(end, now.millisecond, 3), text + kMaxTime);
}

}  // namespace

MessageText::MessageText(const StringTable& strings, ModuleHandle module, std::uint32_t message,
                         std::va_list values) {
  std::array<char, kFormatBuffer> buffer;
  const char* const format = LoadFormat(strings, module, message, buffer);
  if (std::strcmp(format, kPlainText) == 0) {
    Refer(va_arg(values, const char*));
  } else {
    Format(format, values);
  }
}

void MessageText::Refer(const char* text) {
  if (text == nullptr) text = "(null)";
  const void* const end = std::memchr(text, '\0', kMaxLength);
  m_view = {text, end == nullptr ? kMaxLength
                                 : static_cast<std::size_t>(static_cast<const char*>(end) - text)};
}

void MessageText::Format(const char* format, std::va_list values) {
  m_text.front() = '\0';
  std::vsnprintf(m_text.data(), m_text.size(), format, values);
  // A value that cannot be converted ends the text early, so the result does not give its length.
  m_view = m_text.data();
}

std::string_view SourceName(std::string_view source) {
  return source.substr(source.rfind('\\') + 1);
}

RecordStamp::RecordStamp(const LocalTime& now, std::uint32_t thread) {
  char* end = PutTime(m_text.data(), now);
  for (const char character : std::string_view("  (")) *end++ = character;
  end = PutNumber(end, static_cast<std::int32_t>(thread), 1);
  *end++ = ')';
  *end++ = ' ';
  m_length = static_cast<std::size_t>(end - m_text.data());
}

}  // namespace tlk
