#include "xml/msxml/SerialisedXml.h"

#include <algorithm>

#include "xml/XmlMarkup.h"

namespace tlk {
namespace {

constexpr std::size_t kNowhere = std::u16string_view::npos;
constexpr char32_t kFirstBeyondAscii = 0x80;
constexpr std::u16string_view kSpace = u" \t\r\n";

struct Reference {
  char16_t character;
  std::u16string_view written;
};
constexpr Reference kBreaks[] = {{u'\t', u"&#9;"}, {u'\n', u"&#10;"}, {u'\r', u"&#13;"}};
constexpr Reference kMarkup[] = {
    {u'&', u"&amp;"}, {u'<', u"&lt;"}, {u'>', u"&gt;"}, {u'"', u"&quot;"}};

// Copies a text and puts others in place of parts of it, from the front to the back. A text without
// such parts is not copied.
class Rewriter {
 public:
  explicit Rewriter(std::u16string_view text) : m_text(text) {}

  void Replace(std::size_t from, std::size_t end, std::u16string_view replacement) {
    m_rewritten.append(m_text.substr(m_copied, from - m_copied)).append(replacement);
    m_copied = end;
  }

  template <std::size_t size>
  void Escape(const Reference (&references)[size], std::size_t from, std::size_t end) {
    for (; from < end; ++from) {
      const auto* const found =
          std::find_if(references, references + size,
                       [&](const Reference& known) { return known.character == m_text[from]; });
      if (found != references + size) Replace(from, from + 1, found->written);
    }
  }

  [[nodiscard]] bool HasChanged() const { return m_copied > 0; }

  [[nodiscard]] std::u16string Finish() {
    m_rewritten.append(m_text.substr(m_copied));
    return std::move(m_rewritten);
  }

 private:
  std::u16string_view m_text;
  std::u16string m_rewritten;
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

std::u16string Utf16(char32_t character) {
  if (character < 0x10000) return {static_cast<char16_t>(character)};
  const char32_t rest = character - 0x10000;
  return {static_cast<char16_t>(0xD800 + (rest >> 10)),
          static_cast<char16_t>(0xDC00 + (rest & 0x3FF))};
}

// Writes breaks as references and references to characters beyond ASCII as characters.
void SettleValue(std::u16string_view xml, const WrittenAttribute& attribute, Rewriter& rewriter) {
  std::size_t settled = attribute.value;
  const std::u16string_view upToEnd = xml.substr(0, attribute.end);
  for (std::size_t at = settled; (at = upToEnd.find(u"&#", at)) != kNowhere; ++at) {
    const char16_t* behind = xml.data() + at + 2;
    char32_t character = 0;
    if (ReadNumericReference(behind, xml.data() + attribute.end, character) != nullptr) continue;
    if (character < kFirstBeyondAscii) continue;
    rewriter.Escape(kBreaks, settled, at);
    settled = static_cast<std::size_t>(behind - xml.data());
    rewriter.Replace(at, settled, Utf16(character));
  }
  rewriter.Escape(kBreaks, settled, attribute.end);
}

// Not every version of this DOM escapes the namespace of a declaration. What can be a reference
// there is taken for one.
void SettleDeclaration(std::u16string_view xml, const WrittenAttribute& attribute,
                       Rewriter& rewriter) {
  std::u16string value;
  const char16_t* at = xml.data() + attribute.value;
  for (const char16_t* const end = xml.data() + attribute.end; at != end;) {
    char32_t character = 0;
    const char16_t* behind = at;
    if (*at == u'&' && ReadReference(behind, end, character) == nullptr) {
      value.append(Utf16(character));
      at = behind;
    } else {
      value.push_back(*at++);
    }
  }
  rewriter.Replace(attribute.value - 1, attribute.end + 1, u"\"" + EscapedValue(value) + u"\"");
}

bool DeclaresDefault(std::u16string_view xml, std::size_t at) {
  WrittenAttribute attribute;
  while (ReadWrittenAttribute(xml, at, attribute))
    if (attribute.name == kDefaultDeclaration) return true;
  return false;
}

void SettleTag(std::u16string_view xml, std::size_t& at, Rewriter& rewriter) {
  WrittenAttribute attribute;
  for (std::size_t start = at; ReadWrittenAttribute(xml, at, attribute); start = at) {
    if (attribute.name == kDefaultDeclaration && DeclaresDefault(xml, at)) {
      rewriter.Replace(start, at, {});
    } else if (IsDeclaration(attribute.name)) {
      SettleDeclaration(xml, attribute, rewriter);
    } else {
      SettleValue(xml, attribute, rewriter);
    }
  }
}

void SettleTags(std::u16string_view xml, Rewriter& rewriter) {
  std::size_t at = 0;
  while ((at = xml.find(u'<', at)) != kNowhere) {
    const std::size_t behind = BehindOtherMarkup(xml, at);
    const bool isTag = behind == at;
    at = isTag ? BehindTagName(xml, at) : behind;
    if (isTag) SettleTag(xml, at, rewriter);
  }
}

}  // namespace

std::size_t BehindTagName(std::u16string_view xml, std::size_t at) {
  return std::min(xml.find_first_of(u" \t\r\n/>", at), xml.size());
}

bool ReadWrittenAttribute(std::u16string_view xml, std::size_t& at, WrittenAttribute& attribute) {
  const std::size_t name = std::min(xml.find_first_not_of(kSpace, at), xml.size());
  at = name;
  if (name == xml.size() || xml[name] == u'/' || xml[name] == u'>') return false;
  const std::size_t nameEnd = xml.find(u'=', name);
  const std::size_t opening = xml.find_first_of(u"\"'", nameEnd);
  if (opening == kNowhere) return false;
  const std::size_t closing = xml.find(xml[opening], opening + 1);
  if (closing == kNowhere) return false;
  attribute = {xml.substr(name, nameEnd - name), opening + 1, closing};
  at = closing + 1;
  return true;
}

void SettleAttributes(std::u16string& xml, bool isAttribute) {
  Rewriter rewriter(xml);
  std::size_t start = 0;
  if (isAttribute) {
    SettleTag(xml, start, rewriter);
  } else {
    SettleTags(xml, rewriter);
  }
  if (rewriter.HasChanged()) xml = rewriter.Finish();
}

std::u16string EscapedValue(std::u16string_view value) {
  Rewriter markup(value);
  markup.Escape(kMarkup, 0, value.size());
  const std::u16string escaped = markup.Finish();
  Rewriter breaks(escaped);
  breaks.Escape(kBreaks, 0, escaped.size());
  return breaks.Finish();
}

}  // namespace tlk
