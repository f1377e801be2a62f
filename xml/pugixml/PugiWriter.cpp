#include "xml/pugixml/PugiWriter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "xml/pugixml/PugiNode.h"

namespace tlk {
namespace {

// A long text gets its room at once: doubling it would copy it and need half as much again.
void Reserve(std::string& utf8, std::size_t likelySize) {
  constexpr std::size_t kLong = 65'536;
  if (utf8.size() > kLong) utf8.reserve(likelySize);
}

// Takes what pugixml writes.
class StringWriter : public pugi::xml_writer {
 public:
  StringWriter(std::string& utf8, std::size_t likelySize)
      : m_utf8(utf8), m_likelySize(likelySize) {}

  void write(const void* data, std::size_t size) override {
    Reserve(m_utf8, m_likelySize);
    m_utf8.append(static_cast<const char*>(data), size);
  }

 private:
  std::string& m_utf8;
  const std::size_t m_likelySize;
};

// How many more "<" than ">" there are, and whether one opens anything but a tag. All in bytes, in
// short pieces, so that the compiler takes many at once.
struct Brackets {
  explicit Brackets(std::string_view xml) {
    constexpr std::size_t kPiece = 112;
    std::uint8_t others = 0;
    while (xml.size() > 1) {
      const char* const at = xml.data();
      const std::size_t size = std::min(kPiece, xml.size() - 1);
      std::int8_t balance = 0;
      for (std::size_t i = 0; i < size; ++i) {
        const bool opens = at[i] == '<';
        balance = static_cast<std::int8_t>(balance + opens - (at[i] == '>'));
        others |= static_cast<std::uint8_t>(opens & ((at[i + 1] == '!') | (at[i + 1] == '?')));
      }
      opened += balance;
      xml.remove_prefix(size);
    }
    if (xml == ">") --opened;
    openOthers = others != 0;
  }

  std::ptrdiff_t opened = 0;
  bool openOthers = false;
};

// Whether what pugixml has written may have to be written otherwise: it leaves a carriage return in
// a text as it is, which would be read back as a line feed, and ">" in a value, and knows nothing
// of shown declarations.
bool IsDoubtful(std::string_view xml) {
  constexpr auto kNowhere = std::string_view::npos;
  if (xml.find('\r') != kNowhere || xml.find('\1') != kNowhere) return true;
  if (xml.find("&#09;") != kNowhere) return true;
  const Brackets brackets(xml);
  return brackets.openOthers || brackets.opened != 0;
}

// Writes what pugixml would write wrongly. It is slower.
class Writer {
 public:
  Writer(std::string& utf8, std::size_t likelySize) : m_utf8(utf8), m_likelySize(likelySize) {}

  void Write(const pugi::xml_node& top, const Declarations& inherited) {
    const auto close = [this](const pugi::xml_node& left) { Close(left); };
    Open(top, inherited);
    for (pugi::xml_node node = NextInTree(top, top, close); !IsNone(node);
         node = NextInTree(node, top, close)) {
      Reserve(m_utf8, m_likelySize);
      Open(node, {});
    }
  }

  void Attribute(std::string_view name, std::string_view value) {
    m_utf8.append(name == kShownDeclaration ? kDefaultDeclaration : name).append("=\"");
    for (const char c : value) AppendEscaped(c, true);
    m_utf8.append("\"");
  }

 private:
  void Open(const pugi::xml_node& node, const Declarations& inherited) {
    switch (node.type()) {
      case pugi::node_element:
        Tag(node, inherited);
        break;
      case pugi::node_pcdata:
        for (const char c : std::string_view(node.value())) AppendEscaped(c, false);
        break;
      case pugi::node_cdata:
        Enclosed("<![CDATA[", node.value(), "]]>");
        break;
      case pugi::node_comment:
        Enclosed("<!--", node.value(), "-->");
        break;
      case pugi::node_pi:
        Enclosed("<?", node.name(), *node.value() == '\0' ? "" : " ");
        Enclosed("", node.value(), "?>");
        break;
      default:
        break;
    }
  }

  // Writes the start tag, or the whole of an element that has nothing in it.
  void Tag(const pugi::xml_node& element, const Declarations& inherited) {
    Enclosed("<", element.name(), "");
    for (const pugi::xml_attribute& attribute : element.attributes()) {
      m_utf8.append(" ");
      Attribute(attribute.name(), attribute.value());
    }
    for (const auto& [name, value] : inherited) {
      m_utf8.append(" ");
      Attribute(name, value);
    }
    m_utf8.append(IsNone(element.first_child()) ? "/>" : ">");
  }

  void Close(const pugi::xml_node& node) {
    if (node.type() == pugi::node_element && !IsNone(node.first_child()))
      Enclosed("</", node.name(), ">");
  }

  void Enclosed(std::string_view before, std::string_view text, std::string_view behind) {
    m_utf8.append(before).append(text).append(behind);
  }

  // Escapes what a reader would take for markup, or for another blank than it is.
  void AppendEscaped(char c, bool isInValue) {
    switch (c) {
      case '&':
        m_utf8.append("&amp;");
        break;
      case '<':
        m_utf8.append("&lt;");
        break;
      case '>':
        m_utf8.append("&gt;");
        break;
      case '\r':
        m_utf8.append("&#13;");
        break;
      case '"':
        m_utf8.append(isInValue ? "&quot;" : "\"");
        break;
      case '\t':
        m_utf8.append(isInValue ? "&#9;" : "\t");
        break;
      case '\n':
        m_utf8.append(isInValue ? "&#10;" : "\n");
        break;
      default:
        m_utf8.push_back(c);
    }
  }

  std::string& m_utf8;
  const std::size_t m_likelySize;
};

bool IsText(const pugi::xml_node& node) {
  return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

}  // namespace

void AppendText(const pugi::xml_node& node, std::string& utf8) {
  for (pugi::xml_node in = node; !IsNone(in); in = NextInTree(in, node))
    if (IsText(in) || IsSame(in, node)) utf8 += in.value();
}

// pugixml's own writer is the faster one: ours writes again what that may have written wrongly.
void AppendXml(const pugi::xml_node& node, std::string& utf8, const Declarations& inherited,
               std::size_t likelySize) {
  const std::size_t before = utf8.size();
  if (inherited.empty()) {
    StringWriter writer(utf8, likelySize);
    node.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
    if (!IsDoubtful(std::string_view(utf8).substr(before))) return;
    utf8.resize(before);
  }
  Writer(utf8, likelySize).Write(node, inherited);
}

void AppendXml(const pugi::xml_attribute& attribute, std::string& utf8) {
  Writer(utf8, 0).Attribute(attribute.name(), attribute.value());
}

}  // namespace tlk
