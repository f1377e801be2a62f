#include "tools/tlk/wire/MessageView.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "platform/Utf8.h"
#include "tools/tlk/Printable.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/wire/Markup.h"

namespace tlk::wire {
namespace {

constexpr std::size_t kIndentation = 2;
constexpr std::size_t kMostOfType = 200;
constexpr std::size_t kMostOfId = 20;
constexpr std::size_t kMostOfNoXml = 200;

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kSpace = " \t\r\n";
  const auto first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

std::string ShowType(const MessageText& message) {
  const auto written = message.Type();
  if (!written) return "-";
  auto type = ResolveReferences(written->substr(0, kMostOfType));
  for (auto at = type.find_first_of(u"\"\\"); at != std::u16string::npos;
       at = type.find_first_of(u"\"\\", at + 2)) {
    type.insert(at, 1, u'\\');
  }
  return '"' + Printable(type) + (written->size() > kMostOfType ? "\"..." : "\"");
}

std::string ShowId(const MessageChild& child) {
  const auto id = FindAttribute(child.tag, "Id");
  if (!id) return "-";
  const auto shown = Printable(id->substr(0, kMostOfId));
  return id->find_first_not_of("-0123456789") == std::string_view::npos ? shown : '"' + shown + '"';
}

/// Lays a body out in lines while a scanner goes through it.
class BodyLines {
 public:
  explicit BodyLines(std::size_t most) : m_most(most) {}

  std::string Of(std::string_view body) {
    MarkupScanner scanner(body);
    Markup markup;
    while (!m_isFull && scanner.Next(markup)) {
      Take(markup);
      m_taken += markup.text.size();
    }
    if (!m_lines.empty()) m_lines += '\n';
    if (m_cut += body.size() - m_taken; m_cut != 0) {
      m_lines += "  ... " + Counted(m_cut, "byte") + " more\n";
    }
    return std::move(m_lines);
  }

 private:
  void Take(const Markup& markup) {
    switch (markup.kind) {
      case MarkupKind::kText:
        if (const auto text = Trimmed(markup.text); !text.empty()) Put(text, m_isLeaf);
        break;
      case MarkupKind::kOpening:
        Put(markup.text, false);
        ++m_depth;
        m_isLeaf = true;
        break;
      case MarkupKind::kClosing:
        if (m_depth > 0) --m_depth;
        Put(markup.text, m_isLeaf);
        m_isLeaf = false;
        break;
      default:
        Put(markup.text, false);
        m_isLeaf = false;
    }
  }

  /// Puts a text on a line of its own, or behind what the line holds.
  void Put(std::string_view text, bool behind) {
    const auto kept = text.substr(0, m_most - std::min(m_most, m_lines.size()));
    m_cut += text.size() - kept.size();
    m_isFull = kept.size() < text.size();
    if (kept.empty()) return;
    if (!behind) BeginLine();
    for (const char byte : Printable(kept, Layout::kManyLines)) {
      if (byte == '\n') {
        BeginLine();
      } else {
        m_lines += byte;
      }
    }
  }

  void BeginLine() {
    if (!m_lines.empty()) m_lines += '\n';
    m_lines.append((m_depth + 1) * kIndentation, ' ');
  }

  const std::size_t m_most;
  std::string m_lines;
  std::size_t m_depth = 0;
  std::size_t m_taken = 0;
  std::size_t m_cut = 0;
  bool m_isLeaf = false;  ///< The line holds an opening tag and, it may be, text.
  bool m_isFull = false;
};

std::string ShowBody(std::string_view body, const ViewOptions& options) {
  if (!options.hideData) return BodyLines(options.mostShown).Of(body);
  return body.empty() ? "" : "  (" + Counted(body.size(), "byte") + " of Data left out)\n";
}

std::string ShowNoXml(std::string_view frame, const GateVerdict& verdict,
                      const ViewOptions& options) {
  std::string lines = "  not XML: " + std::string(verdict.reason) + " at byte " +
                      std::to_string(verdict.position) + '\n';
  if (options.hideData) return lines;
  const bool isLong = frame.size() > kMostOfNoXml;
  return lines + "  " + Quote(frame.substr(0, kMostOfNoXml)) + (isLong ? "...\n" : "\n");
}

}  // namespace

std::string ShowTime(const LocalTime& time) {
  char text[64];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", time.hour, time.minute, time.second,
                time.millisecond);
  return text;
}

std::string ShowMessage(std::string_view frame, const MessageText& message, const LocalTime& time,
                        std::string_view peer, const ViewOptions& options) {
  const auto& [from, to, data] = message.children;
  std::string shown = ShowTime(time) + ' ' + std::string(peer);
  if (!message.verdict.Passed()) {
    return shown + " bytes=" + std::to_string(frame.size()) + '\n' +
           ShowNoXml(frame, message.verdict, options);
  }
  shown += " type=" + ShowType(message) + " from=" + ShowId(from) + " to=" + ShowId(to);
  return shown + " bytes=" + std::to_string(frame.size()) + '\n' + ShowBody(data.content, options);
}

std::string ShowFindings(const std::vector<Finding>& findings) {
  std::string lines;
  for (const auto& finding : findings) {
    lines += std::string("  ! ") + (finding.isFault ? "fault" : "remark") + " at byte " +
             std::to_string(finding.position) + ": " + finding.text + '\n';
  }
  return lines;
}

}  // namespace tlk::wire
