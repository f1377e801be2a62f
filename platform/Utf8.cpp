#include "platform/Utf8.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

#include "platform/AnsiText.h"
#include "platform/Ascii.h"

namespace tlk {
namespace {

constexpr char32_t kFirstPair = 0x10000;
constexpr char32_t kLastCharacter = 0x10FFFF;

// The least character of so many bytes. UTF-8 once had longer ones: they are broken as a whole.
constexpr std::array<char32_t, 7> kLeast{
    kLastCharacter + 1, 0, 0x80, 0x800, kFirstPair, kLastCharacter + 1, kLastCharacter + 1};

constexpr bool IsHigh(char32_t unit) { return (unit & ~0x3FFU) == 0xD800; }
constexpr bool IsLow(char32_t unit) { return (unit & ~0x3FFU) == 0xDC00; }

// How many bytes a character has that begins with this one; none if no character does.
constexpr std::size_t LengthOf(unsigned char first) {
  if (first < 0x80) return 1;
  return first < 0xC2 || first > 0xFD ? 0 : static_cast<std::size_t>(std::countl_one(first));
}

// Takes one byte where something else than a character is, so that it cannot swallow what follows.
char32_t TakeCharacter(std::string_view utf8, std::size_t& at) {
  const std::string_view rest = utf8.substr(at++);
  const auto first = static_cast<unsigned char>(rest[0]);
  const std::size_t length = LengthOf(first);
  char32_t character = first & (length == 1 ? 0x7FU : 0x7FU >> length);
  const std::size_t there = std::min(length, rest.size());
  for (std::size_t i = 1; i < there; ++i) {
    const auto trail = static_cast<unsigned char>(rest[i]);
    if ((trail & 0xC0) != 0x80) return kBrokenCharacter;
    character = (character << 6) | (trail & 0x3FU);
  }
  if (there < length) at = utf8.size();
  if (there < length || character < kLeast[length] || character > kLastCharacter ||
      IsHigh(character) || IsLow(character)) {
    return kBrokenCharacter;
  }
  at += length - 1;
  return character;
}

char16_t* Put(char32_t character, char16_t* to) {
  if (character >= kFirstPair) {
    *to++ = static_cast<char16_t>(0xD800 + ((character - kFirstPair) >> 10));
    character = 0xDC00 + (character & 0x3FF);
  }
  *to++ = static_cast<char16_t>(character);
  return to;
}

char32_t TakeCharacter(std::u16string_view wide, std::size_t& at) {
  const char32_t unit = wide[at++];
  if (!IsHigh(unit) && !IsLow(unit)) return unit;
  if (IsLow(unit) || at == wide.size() || !IsLow(wide[at])) return '?';
  return kFirstPair + ((unit & 0x3FF) << 10) + (wide[at++] & 0x3FFU);
}

char* Put(char32_t character, char* to) {
  if (character < 0x80) {
    *to++ = static_cast<char>(character);
    return to;
  }
  const int trails = character < kLeast[3] ? 1 : character < kLeast[4] ? 2 : 3;
  *to++ = static_cast<char>((0xFF00U >> (trails + 1)) | (character >> (6 * trails)));
  for (int left = trails - 1; left >= 0; --left)
    *to++ = static_cast<char>(0x80 | ((character >> (6 * left)) & 0x3F));
  return to;
}

// Appends to `to`, which has no more than `room` to grow.
template <typename From, typename To>
void Append(std::basic_string_view<From> from, std::size_t room, std::basic_string<To>& to) {
  const std::size_t before = to.size();
  to.resize(before + room);
  To* end = to.data() + before;
  for (std::size_t at = 0; at < from.size();) {
    const std::size_t plain = CopyAscii(from.substr(at), end);
    at += plain;
    end += plain;
    for (const std::size_t stop = std::min(from.size(), at + kAsciiBlock); at < stop;)
      end = Put(TakeCharacter(from, at), end);
  }
  to.resize(static_cast<std::size_t>(end - to.data()));
}

}  // namespace

void AppendUtf16(std::string_view utf8, std::u16string& wide) { Append(utf8, utf8.size(), wide); }

void AppendUtf8(std::u16string_view wide, std::string& utf8) {
  std::size_t room = wide.size();
  for (const char16_t unit : wide) room += (unit >= 0x80 ? 1U : 0U) + (unit >= 0x800 ? 1U : 0U);
  Append(wide, room, utf8);
}

std::u16string ToUtf16(std::string_view utf8) {
  std::u16string wide;
  AppendUtf16(utf8, wide);
  return wide;
}

std::string ToUtf8(std::u16string_view wide) {
  std::string utf8;
  AppendUtf8(wide, utf8);
  return utf8;
}

}  // namespace tlk
