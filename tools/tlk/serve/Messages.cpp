#include "tools/tlk/serve/Messages.h"

#include <array>
#include <cstdio>
#include <utility>

#include "platform/AnsiText.h"
#include "tools/tlk/serve/Indentation.h"
#include "tools/tlk/wire/FrameExtractor.h"
#include "tools/tlk/wire/Markup.h"
#include "tools/tlk/wire/MessageText.h"
#include "transport/Framing.h"
#include "xml/TLK_XMLBuilder.h"

namespace tlk::serve {
namespace {

using wire::MessageChild;
using wire::MessageText;

constexpr std::string_view kRoot = "TLK_Message";
constexpr std::string_view kEnd = "</TLK_Message>";

std::string Digits(std::size_t length) {
  char digits[24];
  std::snprintf(digits, sizeof digits, "%07zu", length);
  return digits;
}

/// Whether an element is in no namespace, as far as its own tag tells; nothing above it tells
/// otherwise.
bool IsInNoNamespace(std::string_view tag) {
  return wire::FindAttribute(tag, "xmlns").value_or("").empty();
}

bool HasId(const MessageChild& child) {
  return IsInNoNamespace(child.tag) && wire::FindAttribute(child.tag, "Id").has_value();
}

/// The end of the root is the last thing in a message, but for white space.
bool EndsWithRoot(std::string_view frame) {
  const auto end = frame.substr(frame.rfind("</"));
  return end.find_last_not_of(" \t\r\n") == end.find('>');
}

std::string FindLack(const MessageText& message, std::string_view frame) {
  const auto& [from, to, data] = message.children;
  const auto stamp = wire::FindAttribute(message.root, "Length");
  if (wire::NameOf(message.root) != kRoot || !IsInNoNamespace(message.root)) {
    return "root is not TLK_Message";
  }
  if (!stamp) return "root has no Length";
  if (!message.Type()) return "root has no Type";
  if (!HasId(from)) return "no From with an Id";
  if (!HasId(to)) return "no To with an Id";
  if (!IsInNoNamespace(data.tag)) return "Data lies in a namespace";
  if (!EndsWithRoot(frame)) return "something stands behind the root";
  return *stamp == Digits(frame.size()) ? "" : "the root's Length is not the stamp";
}

/// An attribute as it stands in a tag, quotes included, behind a blank.
std::string Written(const wire::TagAttribute& attribute) {
  const char quote = attribute.value.data()[-1];
  return ' ' + std::string(attribute.name) + '=' + quote + std::string(attribute.value) + quote;
}

/// What the root says behind its stamp: the empty name space, the type, then whatever else.
std::string RewriteRoot(std::string_view root) {
  std::string type;
  std::string others;
  for (auto rest = root;;) {
    const auto attribute = wire::FirstAttribute(rest);
    if (attribute.name.empty()) break;
    const auto* const end = attribute.value.data() + attribute.value.size() + 1;
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    if (attribute.name == "Length" || attribute.name == "xmlns") continue;
    (attribute.name == "Type" ? type : others) += Written(attribute);
  }
  return R"(" xmlns="")" + type + others + '>';
}

/// All of an element, whose closing tag stands behind its content.
std::string_view Whole(const MessageChild& child, std::string_view frame) {
  const auto begin = static_cast<std::size_t>(child.tag.data() - frame.data());
  auto size = child.tag.size() + child.content.size();
  if (!child.tag.ends_with("/>")) size = frame.find('>', begin + size) + 1 - begin;
  return frame.substr(begin, size);
}

std::string BareBehindTag(std::string_view text) {
  constexpr std::string_view kAnyTag = "<>";
  return WithoutIndentation(std::string(kAnyTag) + std::string(text)).substr(kAnyTag.size());
}

/// What stands in the root, without two of its children and without indentation.
std::string TakeContent(std::string_view frame, const MessageText& message) {
  std::array<std::string_view, 2> left = {Whole(message.children[MessageText::kFrom], frame),
                                          Whole(message.children[MessageText::kTo], frame)};
  if (left[0].data() > left[1].data()) std::swap(left[0], left[1]);
  std::string content;
  const char* begin = message.root.data() + message.root.size();
  for (const auto part : left) {
    content += BareBehindTag({begin, part.data()});
    begin = part.data() + part.size();
  }
  return content += BareBehindTag({begin, frame.data() + frame.rfind("</")});
}

std::string EscapeType(std::string_view type) {
  constexpr std::string_view kEscaped = "&<>\"\t\n\r";
  std::string escaped;
  for (const char byte : type) {
    if (kEscaped.find(byte) == std::string_view::npos) {
      escaped += byte;
    } else {
      escaped += "&#" + std::to_string(byte) + ';';
    }
  }
  return escaped;
}

/// A document may begin with a declaration, a part of one may not.
std::string_view WithoutDeclaration(std::string_view document) {
  if (document.starts_with("<?xml ")) document.remove_prefix(document.find("?>") + 2);
  return document;
}

}  // namespace

std::string OpenMessage(std::size_t length) {
  return std::string(kMessageOpening) + Digits(length);
}

std::string WriteIds(std::int32_t from, std::int32_t to) {
  return "<From Id=\"" + std::to_string(from) + "\"/><To Id=\"" + std::to_string(to) + "\"/>";
}

std::string Stamped(std::string text) {
  const auto marker = text.find(kLengthMarker);
  if (marker != std::string::npos) {
    text.replace(marker + kLengthMarker.size(), kLengthDigits, Digits(text.size()));
  }
  return text;
}

std::optional<ReceivedMessage> Messages::Read(std::string_view frame, std::string& fault) const {
  const auto message = wire::ReadMessageText(frame, m_workshop.gate);
  if (!message.verdict.Passed()) {
    fault = "not XML: " + std::string(message.verdict.reason) + " at byte " +
            std::to_string(message.verdict.position);
    return std::nullopt;
  }
  fault = FindLack(message, frame);
  if (!fault.empty()) return std::nullopt;
  ReceivedMessage received;
  m_workshop.codec.text.Narrow(wire::ResolveReferences(*message.Type()), received.type);
  auto& [text, ids] = received.wording;
  text = RewriteRoot(message.root);
  ids = text.size();
  text += TakeContent(frame, message);
  if (message.children[MessageText::kData].tag.empty()) text += "<Data/>";
  text += kEnd;
  return received;
}

Wording Messages::Compose(std::string_view type, std::optional<std::string_view> data) const {
  Wording wording;
  auto& [text, ids] = wording;
  text = R"(" xmlns="" Type=")" + EscapeType(type) + "\">";
  ids = text.size();
  if (data && m_workshop.gate.Pass(*data).Passed()) {
    text += "<Data>" + std::string(WithoutDeclaration(*data)) + "</Data>";
  } else if (data) {
    text += "<Data/>";
  }
  text += kEnd;
  return wording;
}

std::string Messages::Write(const Wording& wording, std::int32_t from, std::int32_t to) {
  const auto ids = WriteIds(from, to);
  const auto length = OpenMessage(0).size() + wording.text.size() + ids.size();
  return OpenMessage(length) + std::string(wording.text).insert(wording.ids, ids);
}

std::string Messages::BuildAsClient(std::string_view type, std::optional<std::string_view> data,
                                    std::int32_t from, std::int32_t to) {
  TLK_XMLBuilder builder(m_workshop.codec);
  builder.CreateMessage(type, from, to);
  if (data) builder.EnsureDataElement();
  if (data && !data->empty()) builder.AppendData(*data);
  std::string text;
  builder.SetLength();
  builder.GetXml(text);
  return Stamped(WithoutIndentation(text));
}

}  // namespace tlk::serve
