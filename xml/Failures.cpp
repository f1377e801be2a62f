#include "xml/Failures.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "log/MessageTexts.h"
#include "log/iLogger.h"
#include "platform/AnsiText.h"
#include "platform/StandardOutput.h"
#include "xml/XmlCharacters.h"

namespace tlk {
namespace {

constexpr std::int32_t kLevel = 0;
constexpr std::uint32_t kMessage = 1;

// The log formats wide texts with the C library, whose wide characters hold 16 bits on one platform
// and 32 on the other.
std::wstring WideText(const AnsiText& codePage, std::string_view narrow) {
  std::u16string units;
  codePage.Widen(narrow, units);
  std::wstring wide;
  wide.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char16_t unit = units[i];
    if (sizeof(wchar_t) > sizeof(char16_t) && IsHighSurrogate(unit) && i + 1 < units.size() &&
        IsLowSurrogate(units[i + 1])) {
      wide += static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10) + (units[++i] - 0xDC00));
    } else {
      wide += static_cast<wchar_t>(unit);
    }
  }
  return wide;
}

bool HasText(FailureValues values) {
  return values == FailureValues::kCodeThenText || values == FailureValues::kTextThenCode;
}

// A text that fits needs no memory.
template <typename Value>
void PrintFormatted(const char* format, Value value) {
  std::array<char, 256> usual;
  const int length = std::snprintf(usual.data(), usual.size(), format, value);
  if (length < 0) return;
  const auto size = static_cast<std::size_t>(length);
  if (size < usual.size()) return PrintOnStandardOutput({usual.data(), size});
  std::string whole(size + 1, '\0');
  std::snprintf(whole.data(), whole.size(), format, value);
  PrintOnStandardOutput({whole.data(), size});
}

void Show(const Failure& failure, DomResult code, std::string_view text) {
  if (HasText(failure.values)) {
    PrintFormatted(failure.shown, std::string(text).c_str());
  } else {
    PrintFormatted(failure.shown, static_cast<unsigned int>(code));
  }
}

void Record(const Codec& codec, const char* source, const Failure& failure, DomResult code,
            std::string_view text) {
  const auto hexCode = static_cast<unsigned int>(code);
  const std::wstring wide = HasText(failure.values) ? WideText(codec.text, text) : std::wstring();
  switch (failure.values) {
    case FailureValues::kNone:
      codec.log.LogError(kLevel, kMessage, source, failure.line, failure.logged);
      break;
    case FailureValues::kCode:
      codec.log.LogError(kLevel, kMessage, source, failure.line, failure.logged, hexCode);
      break;
    case FailureValues::kCodeThenText:
      codec.log.LogError(kLevel, kMessage, source, failure.line, failure.logged, hexCode,
                         wide.c_str());
      break;
    case FailureValues::kTextThenCode:
      codec.log.LogError(kLevel, kMessage, source, failure.line, failure.logged, wide.c_str(),
                         hexCode);
      break;
  }
}

// When memory has run out the text is left out: without it, nothing here asks for memory.
template <typename Tell>
void WithTextOrWithout(Tell tell, std::string_view text) noexcept {
  try {
    try {
      tell(text);
    } catch (const std::bad_alloc&) {
      tell({});
    }
  } catch (const std::exception&) {
    // The operation fails all the same; only its report is lost.
    PrintOnStandardError("A failure could not be recorded.\n");
  }
}

}  // namespace

void ReportFailure(const Codec& codec, const char* source, const Failure& failure, DomResult code,
                   std::string_view text) noexcept {
  ReportFailureInWords(codec, source, failure, code, ShownText(text).View());
}

void ReportFailureInWords(const Codec& codec, const char* source, const Failure& failure,
                          DomResult code, std::string_view text) noexcept {
  WithTextOrWithout([&](std::string_view told) { Show(failure, code, told); }, text);
  WithTextOrWithout([&](std::string_view told) { Record(codec, source, failure, code, told); },
                    text);
}

}  // namespace tlk
