#include "xml/GateScanner.h"

#include <algorithm>
#include <array>
#include <span>
#include <type_traits>

#include "xml/GateNamespaces.h"
#include "xml/XmlMarkup.h"

namespace tlk {
namespace {

/// Goes through one document from front to back. Each step tells whether the text may go on; the
/// one that says no leaves the verdict.
template <typename Char>
class GateScanner {
 public:
  GateScanner(std::basic_string_view<Char> text, const XmlAlphabet& alphabet, std::size_t maxDepth)
      : m_begin(text.data()),
        m_at(text.data()),
        m_end(text.data() + text.size()),
        m_alphabet(alphabet),
        m_namespaces(alphabet),
        m_maxDepth(std::min(maxDepth, kMaxMessageDepth)) {}

  GateVerdict Run() {
    SkipByteOrderMark();
    if (Declaration() && Miscellany() && Root() && Miscellany() && !AtEnd())
      Fail("text after the root element");
    return m_verdict;
  }

 private:
  using Name = GateName<Char>;

  struct OpenElement {
    Name name;
    std::size_t declared;
  };

  bool Fail(const char* reason, const Char* at) {
    m_verdict = {reason, static_cast<std::size_t>(at - m_begin)};
    return false;
  }
  bool Fail(const char* reason) { return Fail(AtEnd() ? "the text ends too early" : reason, m_at); }

  [[nodiscard]] bool AtEnd() const { return m_at == m_end; }
  [[nodiscard]] bool At(char c) const { return m_at != m_end && *m_at == static_cast<Char>(c); }
  [[nodiscard]] bool At(std::string_view text) const { return StartsWith(m_at, m_end, text); }
  [[nodiscard]] unsigned Traits(Char c) const {
    return m_alphabet.traits[static_cast<std::make_unsigned_t<Char>>(c)];
  }
  [[nodiscard]] bool At(XmlTrait trait) const {
    return m_at != m_end && (Traits(*m_at) & trait) != 0;
  }
  // The loops below step a copy of the position, which the compiler can keep in a register.
  void Skip(XmlTrait trait) {
    const Char* at = m_at;
    while (at != m_end && (Traits(*at) & trait) != 0) ++at;
    m_at = at;
  }
  void SkipRun(XmlTrait trait);

  void SkipByteOrderMark();
  bool Declaration();
  bool Miscellany();
  bool Root();
  bool Content();
  bool Text();
  bool Markup();
  bool Comment();
  bool Instruction();
  bool CData();
  bool SkipBehind(std::string_view mark);
  bool Character();
  bool Reference();

  bool StartTag();
  bool EndTag();
  bool ReadName(Name& name);
  bool Attributes();
  bool Attribute();
  bool Value();
  bool Declare(const Name& name, const Char* value, const Char* end);
  bool ElementIsBound(const Name& name);
  bool AttributesAreBound();
  bool AttributesDiffer();

  const Char* m_begin;
  const Char* m_at;
  const Char* m_end;
  XmlAlphabet m_alphabet;
  GateVerdict m_verdict;
  GateNamespaces<Char> m_namespaces;
  const std::size_t m_maxDepth;
  std::size_t m_depth = 0;
  std::size_t m_attributeCount = 0;
  bool m_prefixedAttributes = false;
  std::array<OpenElement, kMaxMessageDepth> m_open;
  std::array<GateAttribute<Char>, kMaxXmlAttributes> m_attributes;
};

/// Skips characters that need no second look, four at a time, for text comes in long runs.
template <typename Char>
void GateScanner<Char>::SkipRun(XmlTrait trait) {
  const Char* at = m_at;
  const auto four = [this](const Char* of) {
    return Traits(of[0]) & Traits(of[1]) & Traits(of[2]) & Traits(of[3]);
  };
  while (m_end - at >= 8 && (four(at) & four(at + 4) & trait) != 0) at += 8;
  if (m_end - at >= 4 && (four(at) & trait) != 0) at += 4;
  m_at = at;
  Skip(trait);
}

template <typename Char>
void GateScanner<Char>::SkipByteOrderMark() {
  if (AtEnd()) return;
  const auto unit = static_cast<std::make_unsigned_t<Char>>(*m_at);
  if ((m_alphabet.wide == nullptr ? unit : m_alphabet.wide[unit]) == 0xFEFF) ++m_at;
}

template <typename Char>
bool GateScanner<Char>::Declaration() {
  XmlDeclaration<Char> declaration(m_at, m_end);
  if (!declaration.Present()) return true;
  const bool wellFormed = declaration.Read();
  m_at = declaration.Position();
  return wellFormed || Fail("malformed XML declaration");
}

/// What may stand in front of and behind the root element.
template <typename Char>
bool GateScanner<Char>::Miscellany() {
  for (;;) {
    SkipRun(kXmlSpace);
    if (At("<!--")) {
      if (!Comment()) return false;
    } else if (At("<?")) {
      if (!Instruction()) return false;
    } else {
      return true;
    }
  }
}

template <typename Char>
bool GateScanner<Char>::Root() {
  if (AtEnd()) return Fail("no root element", m_at);
  if (At("<!DOCTYPE")) return Fail("document type declarations are not let in");
  if (!At('<')) return Fail("text in front of the root element");
  return StartTag() && Content();
}

template <typename Char>
bool GateScanner<Char>::Content() {
  while (m_depth != 0)
    if (!Text() || !Markup()) return false;
  return true;
}

/// Character data up to the next markup.
template <typename Char>
bool GateScanner<Char>::Text() {
  for (;;) {
    SkipRun(kXmlText);
    if (At('<')) return true;
    if (At("]]>")) return Fail("the end of a CDATA section without its start");
    if (!(At('&') ? Reference() : Character())) return false;
  }
}

template <typename Char>
bool GateScanner<Char>::Markup() {
  const Char kind = m_end - m_at >= 2 ? m_at[1] : Char{};
  if (kind == '/') return EndTag();
  if (kind == '?') return Instruction();
  if (kind != '!') return StartTag();
  if (At("<!--")) return Comment();
  if (At("<![CDATA[")) return CData();
  return Fail("declaration inside an element");
}

/// Skips characters of any kind, and the end mark behind them.
template <typename Char>
bool GateScanner<Char>::SkipBehind(std::string_view mark) {
  for (SkipRun(kXmlQuiet); !At(mark); SkipRun(kXmlQuiet))
    if (!Character()) return false;
  m_at += mark.size();
  return true;
}

template <typename Char>
bool GateScanner<Char>::Comment() {
  m_at += std::string_view("<!--").size();
  if (!SkipBehind("--")) return false;
  if (!At('>')) return Fail("\"--\" inside a comment");
  ++m_at;
  return true;
}

template <typename Char>
bool GateScanner<Char>::Instruction() {
  m_at += 2;
  const Char* const target = m_at;
  if (!At(kXmlNameStart)) return Fail("malformed processing instruction");
  Skip(kXmlName);
  const auto isLetter = [](Char c, char letter) { return (c | 0x20) == letter; };
  if (m_at - target == 3 && isLetter(target[0], 'x') && isLetter(target[1], 'm') &&
      isLetter(target[2], 'l'))
    return Fail("XML declaration that is not at the start", target);
  if (!At("?>") && !At(kXmlSpace)) return Fail("malformed processing instruction");
  return SkipBehind("?>");
}

template <typename Char>
bool GateScanner<Char>::CData() {
  m_at += std::string_view("<![CDATA[").size();
  return SkipBehind("]]>");
}

/// One character of any kind, be it a pair of surrogates.
template <typename Char>
bool GateScanner<Char>::Character() {
  if (At(kXmlLegal)) {
    ++m_at;
    return true;
  }
  if constexpr (sizeof(Char) == sizeof(char16_t)) {
    if (m_end - m_at >= 2 && IsHighSurrogate(m_at[0]) && IsLowSurrogate(m_at[1])) {
      m_at += 2;
      return true;
    }
  }
  return Fail("character that no document may hold");
}

template <typename Char>
bool GateScanner<Char>::Reference() {
  const Char* const start = m_at;
  char32_t character = 0;
  const char* const reason = ReadReference(m_at, m_end, character);
  return reason == nullptr || Fail(reason, start);
}

template <typename Char>
bool GateScanner<Char>::StartTag() {
  const Char* const start = m_at++;
  if (m_depth == m_maxDepth) return Fail("elements are nested too deeply", start);
  OpenElement& element = m_open[m_depth];
  element.declared = m_namespaces.Mark();
  if (!ReadName(element.name) || !Attributes()) return false;
  if (!ElementIsBound(element.name) || !AttributesAreBound() || !AttributesDiffer()) return false;
  const bool empty = At('/');
  if (empty) ++m_at;
  if (!At('>')) return Fail("malformed start tag");
  ++m_at;
  if (empty) {
    m_namespaces.Restore(element.declared);
  } else {
    ++m_depth;
  }
  return true;
}

template <typename Char>
bool GateScanner<Char>::EndTag() {
  m_at += 2;
  const OpenElement& element = m_open[m_depth - 1];
  const auto length = element.name.end - element.name.begin;
  if (m_end - m_at < length || !std::equal(element.name.begin, element.name.end, m_at))
    return Fail("end tag does not match start tag", m_at);
  const Char* const name = m_at;
  m_at += length;
  if (At(kXmlName) || At(':')) return Fail("end tag does not match start tag", name);
  Skip(kXmlSpace);
  if (!At('>')) return Fail("malformed end tag");
  ++m_at;
  m_namespaces.Restore(element.declared);
  --m_depth;
  return true;
}

template <typename Char>
bool GateScanner<Char>::ReadName(Name& name) {
  name.begin = m_at;
  name.local = m_at;
  if (!At(kXmlNameStart)) return Fail("malformed name");
  Skip(kXmlName);
  if (At(':')) {
    name.local = ++m_at;
    if (!At(kXmlNameStart)) return Fail("malformed name");
    Skip(kXmlName);
    if (At(':')) return Fail("name with more than one prefix");
  }
  name.end = m_at;
  return true;
}

template <typename Char>
bool GateScanner<Char>::Attributes() {
  m_attributeCount = 0;
  m_prefixedAttributes = false;
  for (;;) {
    const bool separated = At(kXmlSpace);
    Skip(kXmlSpace);
    if (At('>') || At('/')) return true;
    if (!separated) return Fail("malformed start tag");
    if (!Attribute()) return false;
  }
}

template <typename Char>
bool GateScanner<Char>::Attribute() {
  if (m_attributeCount == kMaxXmlAttributes) return Fail("too many attributes");
  GateAttribute<Char>& attribute = m_attributes[m_attributeCount++];
  attribute.space = kNoNamespace;
  if (!ReadName(attribute.name)) return false;
  Skip(kXmlSpace);
  if (!At('=')) return Fail("attribute without a value");
  ++m_at;
  Skip(kXmlSpace);
  const Char* const value = m_at + 1;
  if (!Value()) return false;
  m_prefixedAttributes = m_prefixedAttributes || attribute.name.HasPrefix();
  return Declare(attribute.name, value, m_at - 1);
}

template <typename Char>
bool GateScanner<Char>::Value() {
  if (!At('"') && !At('\'')) return Fail("attribute value without quotes");
  const Char quote = *m_at++;
  for (;;) {
    SkipRun(kXmlValue);
    if (At('<')) return Fail("\"<\" in an attribute value");
    if (!AtEnd() && *m_at == quote) break;
    if (!(At('&') ? Reference() : Character())) return false;
  }
  ++m_at;
  return true;
}

/// Takes in an attribute that declares a namespace; any other passes.
template <typename Char>
bool GateScanner<Char>::Declare(const Name& name, const Char* value, const Char* end) {
  constexpr std::string_view kXmlns = "xmlns";
  const Char* const prefixEnd = name.HasPrefix() ? name.local - 1 : name.end;
  if (prefixEnd - name.begin != kXmlns.size() || !StartsWith(name.begin, prefixEnd, kXmlns))
    return true;
  const auto prefix = name.HasPrefix() ? name.Local() : std::basic_string_view<Char>();
  const char* const reason = m_namespaces.Declare(prefix, {value, end});
  return reason == nullptr || Fail(reason, name.begin);
}

template <typename Char>
bool GateScanner<Char>::ElementIsBound(const Name& name) {
  if (!name.HasPrefix()) return true;
  const NamespaceId space = m_namespaces.Find(name.Prefix());
  if (space != kUnboundPrefix && space != kXmlnsNamespace) return true;
  return Fail("prefix without a namespace", name.begin);
}

template <typename Char>
bool GateScanner<Char>::AttributesAreBound() {
  if (!m_prefixedAttributes) return true;
  for (auto& attribute : std::span(m_attributes.data(), m_attributeCount)) {
    if (!attribute.name.HasPrefix()) continue;
    attribute.space = m_namespaces.Find(attribute.name.Prefix());
    if (attribute.space == kUnboundPrefix)
      return Fail("prefix without a namespace", attribute.name.begin);
  }
  return true;
}

template <typename Char>
bool GateScanner<Char>::AttributesDiffer() {
  if (m_attributeCount < 2) return true;
  const auto* const duplicate =
      FindDuplicate(std::span<GateAttribute<Char>>(m_attributes.data(), m_attributeCount));
  return duplicate == nullptr || Fail("attribute is there twice", duplicate->name.begin);
}

}  // namespace

template <typename Char>
GateVerdict ScanXml(std::basic_string_view<Char> text, const XmlAlphabet& alphabet,
                    std::size_t maxDepth) {
  return GateScanner<Char>(text, alphabet, maxDepth).Run();
}

template GateVerdict ScanXml(std::string_view, const XmlAlphabet&, std::size_t);
template GateVerdict ScanXml(std::u16string_view, const XmlAlphabet&, std::size_t);

}  // namespace tlk
