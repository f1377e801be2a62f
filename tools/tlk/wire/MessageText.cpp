#include "tools/tlk/wire/MessageText.h"

#include <algorithm>

#include "tools/tlk/wire/Markup.h"

namespace tlk::wire {
namespace {

/// Finds the children of the root while a scanner goes through the message.
class ChildCollector {
 public:
  explicit ChildCollector(MessageText& message) : m_message(message) {}

  void Take(const Markup& markup) {
    switch (markup.kind) {
      case MarkupKind::kOpening:
        Open(markup.text);
        ++m_depth;
        break;
      case MarkupKind::kClosing:
        --m_depth;
        if (m_depth == 1) Close(markup.text.data());
        break;
      case MarkupKind::kEmpty:
        Open(markup.text);
        if (m_depth == 1) Close(markup.text.data() + markup.text.size());
        break;
      default:
        break;
    }
  }

 private:
  void Open(std::string_view tag) {
    if (m_depth == 0) m_message.root = tag;
    if (m_depth == 1) m_child.tag = tag;
  }

  void Close(const char* end) {
    const char* const begin = m_child.tag.data() + m_child.tag.size();
    m_child.content = std::string_view(begin, static_cast<std::size_t>(end - begin));
    const auto& names = MessageText::kChildNames;
    const auto index = static_cast<std::size_t>(
        std::find(names.begin(), names.end(), NameOf(m_child.tag)) - names.begin());
    if (index == names.size()) return KeepFirst(m_message.unknown);
    if (!m_message.children[index].tag.empty()) return KeepFirst(m_message.repeated);
    m_message.children[index] = m_child;
    if (index < m_last) KeepFirst(m_message.misplaced);
    m_last = std::max(m_last, index);
  }

  void KeepFirst(MessageChild& kept) const {
    if (kept.tag.empty()) kept = m_child;
  }

  MessageText& m_message;
  MessageChild m_child;
  std::size_t m_depth = 0;
  std::size_t m_last = 0;  ///< The child that ought to come last of those that came.
};

}  // namespace

std::optional<std::string_view> MessageText::Type() const { return FindAttribute(root, "Type"); }

MessageText ReadMessageText(std::string_view frame, const XmlGate& gate) {
  MessageText message;
  message.verdict = gate.Pass(frame, kMaxMessageDepth);
  if (!message.verdict.Passed()) return message;
  ChildCollector collector(message);
  MarkupScanner scanner(frame);
  Markup markup;
  while (scanner.Next(markup)) {
    collector.Take(markup);
  }
  return message;
}

}  // namespace tlk::wire
