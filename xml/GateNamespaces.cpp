#include "xml/GateNamespaces.h"

#include <algorithm>

#include "xml/XmlMarkup.h"

namespace tlk {
namespace {

/// Up to so many attributes, comparing each with each is faster than sorting.
constexpr std::size_t kFewAttributes = 8;

template <typename Char>
bool Is(std::basic_string_view<Char> text, std::string_view expected) {
  return text.size() == expected.size() &&
         StartsWith(text.data(), text.data() + text.size(), expected);
}

/// Reads a well-formed attribute value character by character, as an application sees it.
template <typename Char>
class ValueReader {
 public:
  ValueReader(std::basic_string_view<Char> value, const XmlAlphabet& alphabet)
      : m_at(value.data()), m_end(value.data() + value.size()), m_alphabet(alphabet) {}

  [[nodiscard]] bool AtEnd() const { return m_at == m_end; }

  [[nodiscard]] char32_t Next() {
    char32_t character = 0;
    if (*m_at == '&') {
      ReadReference(m_at, m_end, character);
      return character;
    }
    character = Unit();
    if (character == '\r' && !AtEnd() && *m_at == '\n') ++m_at;
    if (character == '\r' || character == '\n' || character == '\t') return ' ';
    if (!IsHighSurrogate(character)) return character;
    return 0x10000 + ((character - 0xD800) << 10) + (Unit() - 0xDC00);
  }

 private:
  [[nodiscard]] char32_t Unit() {
    const auto unit = static_cast<std::make_unsigned_t<Char>>(*m_at++);
    return m_alphabet.wide == nullptr ? unit : m_alphabet.wide[unit];
  }

  const Char* m_at;
  const Char* m_end;
  XmlAlphabet m_alphabet;
};

template <typename Char>
bool Names(std::basic_string_view<Char> value, const XmlAlphabet& alphabet,
           std::string_view expected) {
  ValueReader<Char> reader(value, alphabet);
  for (const char c : expected)
    if (reader.AtEnd() || reader.Next() != static_cast<char32_t>(c)) return false;
  return reader.AtEnd();
}

template <typename Char>
bool Same(const GateAttribute<Char>& a, const GateAttribute<Char>& b) {
  return a.space == b.space && a.name.Local() == b.name.Local();
}

template <typename Char>
bool Before(const GateAttribute<Char>& a, const GateAttribute<Char>& b) {
  if (a.space != b.space) return a.space < b.space;
  if (const int order = a.name.Local().compare(b.name.Local()); order != 0) return order < 0;
  return a.name.begin < b.name.begin;
}

}  // namespace

template <typename Char>
const GateAttribute<Char>* FindDuplicate(std::span<GateAttribute<Char>> attributes) {
  if (attributes.size() <= kFewAttributes) {
    for (auto later = attributes.begin(); later != attributes.end(); ++later) {
      for (auto earlier = attributes.begin(); earlier != later; ++earlier)
        if (Same(*earlier, *later)) return &*later;
    }
    return nullptr;
  }
  std::sort(attributes.begin(), attributes.end(), Before<Char>);
  const auto first = std::adjacent_find(attributes.begin(), attributes.end(), Same<Char>);
  return first == attributes.end() ? nullptr : &*std::next(first);
}

template <typename Char>
bool NamespaceNameLess<Char>::operator()(std::basic_string_view<Char> a,
                                         std::basic_string_view<Char> b) const {
  ValueReader<Char> left(a, m_alphabet);
  ValueReader<Char> right(b, m_alphabet);
  while (!left.AtEnd() && !right.AtEnd()) {
    const char32_t x = left.Next();
    const char32_t y = right.Next();
    if (x != y) return x < y;
  }
  return left.AtEnd() && !right.AtEnd();
}

template <typename Char>
const char* GateNamespaces<Char>::Declare(View prefix, View value) {
  if (Is(prefix, "xmlns")) return "the prefix xmlns cannot be declared";
  const bool namesXml = Names(value, m_alphabet, kNamespaceOfXml);
  if (Is(prefix, "xml") && namesXml) return nullptr;
  if (Is(prefix, "xml")) return "the prefix xml cannot be bound to another namespace";
  if (namesXml || Names(value, m_alphabet, kNamespaceOfXmlns))
    return "a reserved namespace cannot be declared";
  if (prefix.empty()) return nullptr;
  if (value.empty()) return "a prefix cannot be bound to no namespace";
  Bind(prefix, value);
  return nullptr;
}

template <typename Char>
void GateNamespaces<Char>::Bind(View prefix, View value) {
  const auto fresh = static_cast<NamespaceId>(kUnboundPrefix + 1 + m_names.size());
  const NamespaceId space = m_names.try_emplace(value, fresh).first->second;
  Binding& binding = m_bindings.try_emplace(prefix, kUnboundPrefix).first->second;
  m_replaced.emplace_back(&binding, binding);
  binding = space;
}

template <typename Char>
NamespaceId GateNamespaces<Char>::Find(View prefix) const {
  if (const auto found = m_bindings.find(prefix); found != m_bindings.end()) return found->second;
  if (Is(prefix, "xml")) return kXmlNamespace;
  return Is(prefix, "xmlns") ? kXmlnsNamespace : kUnboundPrefix;
}

template <typename Char>
void GateNamespaces<Char>::Forget(std::size_t mark) {
  while (m_replaced.size() > mark) {
    const auto [binding, previous] = m_replaced.back();
    *binding = previous;
    m_replaced.pop_back();
  }
}

template const GateAttribute<char>* FindDuplicate(std::span<GateAttribute<char>>);
template const GateAttribute<char16_t>* FindDuplicate(std::span<GateAttribute<char16_t>>);
template class NamespaceNameLess<char>;
template class NamespaceNameLess<char16_t>;
template class GateNamespaces<char>;
template class GateNamespaces<char16_t>;

}  // namespace tlk
