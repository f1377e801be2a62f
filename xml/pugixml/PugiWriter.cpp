#include "xml/pugixml/PugiWriter.h"

#include <cstddef>
#include <cstring>
#include <new>
#include <string_view>

#include "xml/pugixml/PugiNode.h"

namespace tlk {
namespace {

constexpr std::string_view kCarriageReturn = "&#13;";

// Takes what pugixml writes. It writes a carriage return in a text as it is, which would be read
// back as a line feed; elsewhere there are none, since line ends are normalised on the way in.
class StringWriter : public pugi::xml_writer {
 public:
  StringWriter(std::string& utf8, std::size_t likelySize)
      : m_utf8(utf8), m_likelySize(likelySize) {}

  void write(const void* data, std::size_t size) override {
    // A long text gets its room at once: doubling it would copy it and need half as much again.
    if (m_utf8.size() > kLong) m_utf8.reserve(m_likelySize);
    std::string_view text(static_cast<const char*>(data), size);
    for (std::size_t at = text.find('\r'); at != std::string_view::npos; at = text.find('\r')) {
      m_utf8.append(text.substr(0, at)).append(kCarriageReturn);
      text.remove_prefix(at + 1);
    }
    m_utf8.append(text);
  }

 private:
  static constexpr std::size_t kLong = 65'536;

  std::string& m_utf8;
  const std::size_t m_likelySize;
};

bool IsText(const pugi::xml_node& node) {
  return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

// Collects the texts of an element in document order.
class TextWalker : public pugi::xml_tree_walker {
 public:
  explicit TextWalker(std::string& utf8) : m_utf8(utf8) {}

  bool for_each(pugi::xml_node& node) override {
    if (IsText(node)) m_utf8 += node.value();
    return true;
  }

 private:
  std::string& m_utf8;
};

}  // namespace

void AppendText(const pugi::xml_node& node, std::string& utf8) {
  TextWalker walker(utf8);
  pugi::xml_node start = node;
  utf8 += node.value();
  start.traverse(walker);
}

void AppendXml(const pugi::xml_node& node, std::string& utf8, std::size_t likelySize) {
  StringWriter writer(utf8, likelySize);
  node.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
}

void AppendXml(const pugi::xml_attribute& attribute, std::string& utf8) {
  // Written as that of an element <a>, whose own text is then taken off again.
  constexpr std::size_t kBefore = 3;
  constexpr std::size_t kBehind = 2;
  pugi::xml_document alone;
  const pugi::xml_node element = alone.append_child("a");
  const pugi::xml_attribute copy = pugi::xml_node(element).append_copy(attribute);
  if (IsNone(copy) || std::strcmp(copy.value(), attribute.value()) != 0) throw std::bad_alloc();
  std::string written;
  AppendXml(element, written);
  utf8.append(written, kBefore, written.size() - kBefore - kBehind);
}

}  // namespace tlk
