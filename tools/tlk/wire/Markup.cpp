#include "tools/tlk/wire/Markup.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>

#include "platform/AnsiText.h"
#include "platform/Platform.h"

namespace tlk::wire {
namespace {

constexpr std::string_view kXmlSpace = " \t\r\n";

struct Section {
  std::string_view begin;
  std::string_view end;
};

/// What may hold tags without meaning them.
constexpr Section kSections[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};

/// Where a tag ends: behind its `>`, of which its attributes may hold more.
std::size_t FindEndOfTag(std::string_view text) {
  char quote = '\0';
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char byte = text[i];
    if (quote != '\0') {
      if (byte == quote) quote = '\0';
    } else if (byte == '>') {
      return i + 1;
    } else if (byte == '"' || byte == '\'') {
      quote = byte;
    }
  }
  return text.size();
}

MarkupKind KindOfTag(std::string_view tag) {
  if (tag.starts_with("</")) return MarkupKind::kClosing;
  return tag.ends_with("/>") ? MarkupKind::kEmpty : MarkupKind::kOpening;
}

/// The attributes of a tag, one after the other.
class AttributeReader {
 public:
  explicit AttributeReader(std::string_view tag) : m_rest(tag) {
    m_rest.remove_prefix(std::min(tag.find_first_of(kXmlSpace), tag.size()));
  }

  bool Next(TagAttribute& attribute) {
    m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kXmlSpace), m_rest.size()));
    const auto quote = m_rest.find_first_of("\"'");
    const auto equals = m_rest.find('=');
    if (quote == std::string_view::npos || equals > quote) return false;
    const auto end = m_rest.find(m_rest[quote], quote + 1);
    if (end == std::string_view::npos) return false;
    attribute.name = m_rest.substr(0, std::min(equals, m_rest.find_first_of(kXmlSpace)));
    attribute.value = m_rest.substr(quote + 1, end - quote - 1);
    m_rest.remove_prefix(end + 1);
    return true;
  }

 private:
  std::string_view m_rest;
};

struct Entity {
  std::string_view name;
  char16_t meaning;
};

constexpr Entity kEntities[] = {
    {"lt", u'<'}, {"gt", u'>'}, {"amp", u'&'}, {"quot", u'"'}, {"apos", u'\''}};

void AppendCodePoint(std::uint32_t number, std::u16string& text) {
  constexpr std::uint32_t kFirstBeyond = 0x10000;
  if (number < kFirstBeyond) {
    text += static_cast<char16_t>(number);
  } else {
    text += static_cast<char16_t>(0xD800 + ((number - kFirstBeyond) >> 10U));
    text += static_cast<char16_t>(0xDC00 + ((number - kFirstBeyond) & 0x3FFU));
  }
}

/// Appends what the reference between `&` and `;` stands for; false when it stands for nothing.
bool AppendReferred(std::string_view reference, std::u16string& text) {
  const auto* const entity = std::find_if(std::begin(kEntities), std::end(kEntities),
                                          [&](const Entity& e) { return e.name == reference; });
  if (entity != std::end(kEntities)) {
    text += entity->meaning;
    return true;
  }
  if (!reference.starts_with('#')) return false;
  const bool isHex = reference.substr(1, 1) == "x";
  const auto digits = reference.substr(isHex ? 2 : 1);
  constexpr std::uint32_t kLastCodePoint = 0x10FFFF;
  std::uint32_t number = 0;
  const auto* const end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, number, isHex ? 16 : 10);
  if (read.ec != std::errc() || read.ptr != end || number > kLastCodePoint) return false;
  AppendCodePoint(number, text);
  return true;
}

}  // namespace

bool MarkupScanner::Next(Markup& markup) {
  if (m_rest.empty()) return false;
  std::size_t end = 0;
  if (m_rest.front() != '<') {
    markup.kind = MarkupKind::kText;
    end = m_rest.find('<');
  } else if (const auto* section =
                 std::find_if(std::begin(kSections), std::end(kSections),
                              [this](const Section& s) { return m_rest.starts_with(s.begin); });
             section != std::end(kSections)) {
    markup.kind = MarkupKind::kOther;
    end = m_rest.find(section->end, section->begin.size());
    if (end != std::string_view::npos) end += section->end.size();
  } else {
    end = FindEndOfTag(m_rest);
    markup.kind = KindOfTag(m_rest.substr(0, end));
  }
  markup.text = m_rest.substr(0, end);
  m_rest.remove_prefix(markup.text.size());
  return true;
}

std::string_view NameOf(std::string_view tag) {
  tag.remove_prefix(std::min<std::size_t>(tag.size(), 1));
  return tag.substr(0, tag.find_first_of(" \t\r\n/>"));
}

TagAttribute FirstAttribute(std::string_view tag) {
  TagAttribute attribute;
  AttributeReader(tag).Next(attribute);
  return attribute;
}

std::optional<std::string_view> FindAttribute(std::string_view tag, std::string_view name) {
  AttributeReader reader(tag);
  TagAttribute attribute;
  while (reader.Next(attribute)) {
    if (attribute.name == name) return attribute.value;
  }
  return std::nullopt;
}

std::u16string ResolveReferences(std::string_view value) {
  std::u16string resolved;
  std::u16string plain;
  while (!value.empty()) {
    const auto begin = std::min(value.find('&'), value.size());
    SystemPlatform().text.Widen(value.substr(0, begin), plain);
    resolved += plain;
    value.remove_prefix(begin);
    if (value.empty()) break;
    const auto end = std::min(value.find(';'), value.size());
    if (AppendReferred(value.substr(1, end - std::min<std::size_t>(end, 1)), resolved)) {
      value.remove_prefix(std::min(end + 1, value.size()));
    } else {
      resolved += u'&';
      value.remove_prefix(1);
    }
  }
  return resolved;
}

}  // namespace tlk::wire
