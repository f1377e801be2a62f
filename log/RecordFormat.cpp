#include "log/RecordFormat.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

namespace tlk {

namespace {

constexpr std::size_t kFormatBuffer = 8192;
constexpr int kMaxTime = 50;
constexpr std::size_t kNumberRoom = 12;
constexpr std::string_view kUnknownMessage = "Unknown message";
constexpr std::string_view kPlainText = "%s";

// The format text, in the buffer or a constant; a zero byte follows it.
std::string_view LoadFormat(const StringTable& strings, ModuleHandle module, std::uint32_t message,
                            std::array<char, kFormatBuffer>& buffer) {
  if (module == nullptr && message == kPlainTextMessage) return kPlainText;
  const int length = strings.Load(module, message, buffer);
  if (length <= 0) return kUnknownMessage;
  return {buffer.data(), static_cast<std::size_t>(length)};
}

// Byte by byte, because they have just been written like this: a wider read would have to wait for
// them, with each record.
bool IsPlainText(std::string_view format) {
  return format.size() == 2 && format[0] == '%' && format[1] == 's';
}

constexpr auto kPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i)
    pairs[i] = static_cast<char>('0' + (i % 2 == 0 ? i / 20 : i / 2 % 10));
  return pairs;
}();

// Text whose length is known to the compiler is put down without a call.
template <std::size_t kSize>
char* Put(char* to, const char (&text)[kSize]) {
  std::memcpy(to, text, kSize - 1);
  return to + kSize - 1;
}

void PutPair(char* to, int number) {
  std::memcpy(to, &kPairs[2 * static_cast<std::size_t>(number)], 2);
}

bool IsUsual(const LocalTime& now) {
  const auto isPair = [](int number) { return static_cast<unsigned>(number) < 100; };
  return now.year >= 1000 && now.year <= 9999 && now.millisecond >= 0 && now.millisecond <= 999 &&
         isPair(now.month) && isPair(now.day) && isPair(now.hour) && isPair(now.minute) &&
         isPair(now.second);
}

char* PutUnusualTime(char* text, const LocalTime& now) {
  const int length =
      std::snprintf(text, kMaxTime + 1, "%.2d/%.2d/%.2d %.2d:%.2d:%.2d.%.3d", now.month, now.day,
                    now.year, now.hour, now.minute, now.second, now.millisecond);
  return text + std::min(length, kMaxTime);
}

// Returns the end of the text.
char* PutTime(char* text, const LocalTime& now) {
  if (!IsUsual(now)) return PutUnusualTime(text, now);
  char* const end = Put(text, "MM/DD/YYYY hh:mm:ss.000");
  PutPair(text, now.month);
  PutPair(text + 3, now.day);
  PutPair(text + 6, now.year / 100);
  PutPair(text + 8, now.year % 100);
  PutPair(text + 11, now.hour);
  PutPair(text + 14, now.minute);
  PutPair(text + 17, now.second);
  text[20] = static_cast<char>('0' + now.millisecond / 100);
  PutPair(text + 21, now.millisecond % 100);
  return end;
}

}  // namespace

MessageText::MessageText(const StringTable& strings, ModuleHandle module, std::uint32_t message,
                         std::va_list values) {
  std::array<char, kFormatBuffer> buffer;
  const std::string_view format = LoadFormat(strings, module, message, buffer);
  if (IsPlainText(format)) {
    Refer(va_arg(values, const char*));
  } else {
    Format(format.data(), values);
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

std::string_view SourceName(const char* source) {
  const char* const backslash = std::strrchr(source, '\\');
  return backslash == nullptr ? source : backslash + 1;
}

SourceLine::SourceLine(std::int32_t line) {
  char* end = Put(m_text.data(), " - ");
  end = std::to_chars(end, end + kNumberRoom, line).ptr;
  *end++ = ')';
  m_length = static_cast<std::size_t>(end - m_text.data());
}

RecordStamp::RecordStamp(const LocalTime& now, std::uint32_t thread, std::string_view mark) {
  char* end = Put(PutTime(m_text.data(), now), "  (");
  end = std::to_chars(end, end + kNumberRoom, static_cast<std::int32_t>(thread)).ptr;
  end = std::ranges::copy(mark, Put(end, ") ")).out;
  m_length = static_cast<std::size_t>(end - m_text.data());
}

}  // namespace tlk
