#include "xml/msxml/SerialisedXml.h"

#include <algorithm>

namespace tlk {
namespace {

constexpr std::size_t kNowhere = std::u16string_view::npos;
constexpr std::u16string_view kSpace = u" \t\r\n";

struct Escape {
  char16_t character;
  std::u16string_view reference;
};
constexpr Escape kBreaks[] = {{u'\t', u"&#9;"}, {u'\n', u"&#10;"}, {u'\r', u"&#13;"}};
constexpr Escape kMarkup[] = {{u'&', u"&amp;"}, {u'<', u"&lt;"}, {u'"', u"&quot;"}};

// Copies a text and puts references in place of single characters. What needs none is not copied.
class Escaper {
 public:
  explicit Escaper(std::u16string_view text) : m_text(text) {}

  template <std::size_t size>
  void Apply(const Escape (&escapes)[size], std::size_t from, std::size_t end) {
    for (; from < end; ++from) {
      const auto* const escape = std::find_if(
          escapes, escapes + size, [&](const Escape& e) { return e.character == m_text[from]; });
      if (escape == escapes + size) continue;
      m_escaped.append(m_text.substr(m_copied, from - m_copied)).append(escape->reference);
      m_copied = from + 1;
    }
  }

  [[nodiscard]] bool HasEscaped() const { return m_copied > 0; }

  [[nodiscard]] std::u16string Finish() {
    m_escaped.append(m_text.substr(m_copied));
    return std::move(m_escaped);
  }

 private:
  std::u16string_view m_text;
  std::u16string m_escaped;
  std::size_t m_copied = 0;
};

// Where the markup ends that the "<" at `at` opens, if it is none with attributes; else `at`.
std::size_t BehindOtherMarkup(std::u16string_view xml, std::size_t at) {
  static constexpr std::u16string_view kKinds[][2] = {
      {u"<!--", u"-->"}, {u"<![CDATA[", u"]]>"}, {u"<?", u"?>"}};
  for (const auto& [opening, closing] : kKinds) {
    if (xml.substr(at, opening.size()) != opening) continue;
    const std::size_t end = xml.find(closing, at + opening.size());
    return end == kNowhere ? xml.size() : end + closing.size();
  }
  return at;
}

void EscapeBreaksInTag(std::u16string_view xml, std::size_t& at, Escaper& escaper) {
  WrittenAttribute attribute;
  while (ReadWrittenAttribute(xml, at, attribute))
    escaper.Apply(kBreaks, attribute.value, attribute.end);
}

void EscapeBreaksInTags(std::u16string_view xml, Escaper& escaper) {
  std::size_t at = 0;
  while ((at = xml.find(u'<', at)) != kNowhere) {
    const std::size_t behind = BehindOtherMarkup(xml, at);
    const bool isTag = behind == at;
    at = isTag ? BehindTagName(xml, at) : behind;
    if (isTag) EscapeBreaksInTag(xml, at, escaper);
  }
}

}  // namespace

std::size_t BehindTagName(std::u16string_view xml, std::size_t at) {
  return std::min(xml.find_first_of(u" \t\r\n/>", at), xml.size());
}

bool ReadWrittenAttribute(std::u16string_view xml, std::size_t& at, WrittenAttribute& attribute) {
  const std::size_t name = std::min(xml.find_first_not_of(kSpace, at), xml.size());
  const std::size_t nameEnd = xml.find_first_of(u"= \t\r\n/>", name);
  const std::size_t opening = xml.find_first_of(u"\"'>", name);
  at = name;
  if (name == nameEnd || opening == kNowhere || xml[opening] == u'>') return false;
  const std::size_t closing = xml.find(xml[opening], opening + 1);
  if (closing == kNowhere) return false;
  attribute = {xml.substr(name, nameEnd - name), opening + 1, closing};
  at = closing + 1;
  return true;
}

void EscapeBreaksInAttributes(std::u16string& xml, bool isAttribute) {
  Escaper escaper(xml);
  std::size_t start = 0;
  if (isAttribute) {
    EscapeBreaksInTag(xml, start, escaper);
  } else {
    EscapeBreaksInTags(xml, escaper);
  }
  if (escaper.HasEscaped()) xml = escaper.Finish();
}

std::u16string EscapedValue(std::u16string_view value) {
  Escaper markup(value);
  markup.Apply(kMarkup, 0, value.size());
  const std::u16string escaped = markup.Finish();
  Escaper breaks(escaped);
  breaks.Apply(kBreaks, 0, escaped.size());
  return breaks.Finish();
}

}  // namespace tlk
