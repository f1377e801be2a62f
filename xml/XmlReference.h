#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "xml/XmlCharacters.h"

namespace tlk {

/// Whether the text from `at` to `end` starts with the ASCII text `expected`.
template <typename Char>
[[nodiscard]] bool StartsWith(const Char* at, const Char* end, std::string_view expected) {
  return static_cast<std::size_t>(end - at) >= expected.size() &&
         std::equal(expected.begin(), expected.end(), at,
                    [](char a, Char b) { return b == static_cast<Char>(a); });
}

inline constexpr unsigned kNoDigit = 99;

/// What a digit counts, up to "f"; kNoDigit for anything else.
[[nodiscard]] constexpr unsigned DigitValue(std::uint32_t c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return kNoDigit;
}

/// Reads the digits and the ";" of a character reference; `at` stands behind "&#". Returns null and
/// steps behind it, or returns what is wrong.
template <typename Char>
const char* ReadNumericReference(const Char*& at, const Char* end, char32_t& character) {
  const unsigned base = at != end && *at == 'x' ? 16 : 10;
  if (base == 16) ++at;
  const Char* const digits = at;
  char32_t number = 0;
  for (unsigned digit;
       at != end && (digit = DigitValue(static_cast<std::make_unsigned_t<Char>>(*at))) < base; ++at)
    number = std::min<char32_t>(number * base + digit, 0x110000);
  if (at == digits || at == end || *at != ';') return "character reference is malformed";
  if (!IsXmlCharacter(number)) return "character reference names no character";
  ++at;
  character = number;
  return nullptr;
}

/// Reads the reference that `at`, on an "&", starts. Returns null, gives the character and steps
/// behind the reference; or returns what is wrong. Without a document type declaration there are
/// only the five entities that every document has, and characters by number.
template <typename Char>
const char* ReadReference(const Char*& at, const Char* end, char32_t& character) {
  struct Entity {
    std::string_view reference;
    char32_t character;
  };
  static constexpr Entity kEntities[] = {
      {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}};
  if (StartsWith(at, end, "&#")) {
    at += 2;
    return ReadNumericReference(at, end, character);
  }
  for (const Entity& entity : kEntities) {
    if (!StartsWith(at, end, entity.reference)) continue;
    at += entity.reference.size();
    character = entity.character;
    return nullptr;
  }
  return "reference to an entity that is not declared";
}

}  // namespace tlk
