#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "xml/XmlCharacters.h"

/// Pieces of markup, read from a text of bytes or of UTF-16 units.

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

/// Reads the XML declaration at the front of a text. It is checked for its form alone: the encoding
/// that it names does not matter, for the text has one already, and any version may read the text.
template <typename Char>
class XmlDeclaration {
 public:
  XmlDeclaration(const Char* at, const Char* end) : m_at(at), m_end(end) {}

  /// Whether there is one. A processing instruction whose name only starts the same is none.
  [[nodiscard]] bool Present() const {
    constexpr std::size_t kOpening = 5;
    return StartsWith(m_at, m_end, "<?xml") && static_cast<std::size_t>(m_end - m_at) > kOpening &&
           (IsSpace(m_at[kOpening]) || m_at[kOpening] == '?');
  }

  /// Steps behind the declaration, or as far as it is well-formed.
  [[nodiscard]] bool Read() {
    m_at += std::string_view("<?xml").size();
    if (!Assignment("version", [](View) { return true; })) return false;
    Assignment("encoding", [](View name) { return !name.empty() && IsLetter(name.front()); });
    Assignment("standalone", [](View answer) { return Is(answer, "yes") || Is(answer, "no"); });
    SkipSpace();
    if (!StartsWith(m_at, m_end, "?>")) return false;
    m_at += 2;
    return true;
  }

  [[nodiscard]] const Char* Position() const { return m_at; }

 private:
  using View = std::basic_string_view<Char>;

  static bool IsSpace(Char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
  static bool IsLetter(Char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
  static bool IsValue(Char c) {
    return IsLetter(c) || (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
  }
  static bool Is(View text, std::string_view expected) {
    return text.size() == expected.size() &&
           StartsWith(text.data(), text.data() + text.size(), expected);
  }

  void SkipSpace() { m_at = std::find_if_not(m_at, m_end, IsSpace); }

  /// Steps over ` name = "value"`. Stays in front of anything else, which is then in the way of the
  /// end of the declaration.
  bool Assignment(std::string_view name, bool (*accepts)(View)) {
    const Char* at = std::find_if_not(m_at, m_end, IsSpace);
    if (at == m_at || !StartsWith(at, m_end, name)) return false;
    at = std::find_if_not(at + name.size(), m_end, IsSpace);
    if (at == m_end || *at != '=') return false;
    at = std::find_if_not(at + 1, m_end, IsSpace);
    if (at == m_end || (*at != '"' && *at != '\'')) return false;
    const Char* const value = at + 1;
    const Char* const close = std::find_if_not(value, m_end, IsValue);
    if (close == m_end || *close != *at || !accepts(View(value, close))) return false;
    m_at = close + 1;
    return true;
  }

  const Char* m_at;
  const Char* m_end;
};

}  // namespace tlk
