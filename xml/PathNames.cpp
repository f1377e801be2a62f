#include "xml/PathNames.h"

namespace tlk {
namespace {

constexpr std::string_view kInNoNamespace = "[namespace-uri()='']";

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool BeginsName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}
bool ContinuesName(char c) { return BeginsName(c) || IsDigit(c) || c == '-' || c == '.'; }

// Reads an expression token by token. What a name means depends on what stands before it (an
// operator can only follow an operand) and behind it (a function, an axis).
class PathReader {
 public:
  PathReader(std::string_view path, std::string& bound) : m_path(path), m_bound(bound) {}

  bool Bind() {
    while (m_at < m_path.size())
      if (!Token()) return false;
    return true;
  }

 private:
  bool Token() {
    const char c = m_path[m_at];
    if (IsBlank(c)) {
      Copy(1);
    } else if (c == '"' || c == '\'') {
      return Literal(c);
    } else if (IsDigit(c)) {
      Operand(Span(m_at, [](char d) { return IsDigit(d) || d == '.'; }));
    } else if (BeginsName(c)) {
      return Name();
    } else {
      return Symbol(c);
    }
    return true;
  }

  bool Literal(char quote) {
    const std::size_t end = m_path.find(quote, m_at + 1);
    if (end == std::string_view::npos) return false;
    Operand(end + 1 - m_at);
    return true;
  }

  bool Symbol(char c) {
    const bool isSign = c == '-' && !m_afterOperand;
    if (c == '(' || c == '[' || isSign) ++m_nesting;
    if (c == ')' || c == ']') --m_nesting;
    Copy(1);
    const bool wildcard = c == '*' && !m_afterOperand;
    m_afterOperand = wildcard || c == ')' || c == ']' || c == '.';
    m_afterAt = c == '@';
    m_afterDollar = c == '$';
    return m_nesting <= kMaxPathNesting;
  }

  bool Name() {
    const std::size_t length = Span(m_at, ContinuesName);
    const bool literalOperator = m_afterOperand;
    const std::string_view name = m_path.substr(m_at, length);
    const std::string_view behind = Behind(m_at + length);
    if (behind.starts_with("::")) return Axis(name);
    if (behind.starts_with(':')) return false;
    const bool elementName =
        !literalOperator && !behind.starts_with('(') && !m_afterAt && !m_afterDollar;
    Operand(length);
    if (elementName) m_bound += kInNoNamespace;
    m_afterOperand = !literalOperator;
    return true;
  }

  bool Axis(std::string_view name) {
    const std::size_t blanks = Span(m_at + name.size(), IsBlank);
    Copy(name.size() + blanks + 2);
    m_afterOperand = false;
    m_afterDollar = false;
    m_afterAt = name == "attribute" || name == "namespace";
    return true;
  }

  void Operand(std::size_t length) {
    Copy(length);
    m_afterOperand = true;
    m_afterAt = false;
    m_afterDollar = false;
  }

  void Copy(std::size_t length) {
    m_bound += m_path.substr(m_at, length);
    m_at += length;
  }

  template <typename Belongs>
  [[nodiscard]] std::size_t Span(std::size_t from, Belongs belongs) const {
    std::size_t end = from;
    while (end < m_path.size() && belongs(m_path[end])) ++end;
    return end - from;
  }

  // What stands at or behind a place, blanks skipped.
  [[nodiscard]] std::string_view Behind(std::size_t from) const {
    return m_path.substr(from + Span(from, IsBlank));
  }

  std::string_view m_path;
  std::string& m_bound;
  std::size_t m_at = 0;
  int m_nesting = 0;
  bool m_afterOperand = false;
  bool m_afterAt = false;
  bool m_afterDollar = false;
};

}  // namespace

bool BindPathNames(std::string_view path, std::string& bound) {
  bound.clear();
  return path.size() <= kMaxPathLength && PathReader(path, bound).Bind();
}

bool NamesNoPrefix(std::string_view path) {
  std::string bound;
  return BindPathNames(path, bound);
}

}  // namespace tlk
