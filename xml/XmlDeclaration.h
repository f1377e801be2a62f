#pragma once

#include <algorithm>
#include <string_view>

#include "xml/XmlReference.h"

namespace tlk {

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
