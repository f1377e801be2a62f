#include "tools/tlk/serve/Messages.h"

#include <cstdio>

#include "platform/Platform.h"
#include "transport/Framing.h"
#include "xml/TLK_XMLBuilder.h"
#include "xml/TLK_XMLParser.h"

namespace tlk::serve {
namespace {

constexpr std::string_view kRoot = "/TLK_Message";
constexpr std::string_view kFrom = "/TLK_Message/From";
constexpr std::string_view kTo = "/TLK_Message/To";

struct NeededAttribute {
  std::string_view path;
  std::string_view name;
  std::string_view fault;
};

/// What every message has, in the order in which its lack is found.
constexpr NeededAttribute kNeeded[] = {
    {kRoot, "Length", "root has no Length"},
    {kRoot, "Type", "root has no Type"},
    {kFrom, "Id", "no From with an Id"},
    {kTo, "Id", "no To with an Id"},
};

bool Selects(TLK_XMLParser& parser, std::string_view path) {
  DomNode node = nullptr;
  return parser.SelectSingleNode(path, node) == kDomOk && node != nullptr;
}

std::string_view FindLack(TLK_XMLParser& parser) {
  if (!Selects(parser, kRoot)) return "root is not TLK_Message";
  std::string value;
  for (const auto& needed : kNeeded) {
    if (!Selects(parser, needed.path) ||
        parser.GetNodeAttribute(needed.path, needed.name, value) != 0) {
      return needed.fault;
    }
  }
  return {};
}

std::string Stamp(std::size_t length) {
  char digits[24];
  std::snprintf(digits, sizeof digits, "%07zu", length);
  return digits;
}

std::string StampAndSerialise(TLK_XMLBuilder& builder) {
  std::string text;
  builder.SetLength();
  builder.GetXml(text);
  return text;
}

}  // namespace

Messages::Messages()
    : m_dom(SystemPlatform().text),
      m_gate(SystemPlatform().text),
      m_codec{m_dom, SystemPlatform().text, m_gate, m_log, kMaxMessageDepth} {}

std::optional<std::string> Messages::ReadType(std::string_view frame, std::string& fault) {
  const auto verdict = m_gate.Pass(frame, kMaxMessageDepth);
  if (!verdict.Passed()) {
    fault =
        "not XML: " + std::string(verdict.reason) + " at byte " + std::to_string(verdict.position);
    return std::nullopt;
  }
  TLK_XMLParser parser(m_codec, frame);
  fault = FindLack(parser);
  std::string length;
  if (fault.empty() && parser.GetNodeAttribute(kRoot, "Length", length) == 0 &&
      length != Stamp(frame.size())) {
    fault = "the root's Length is not the stamp";
  }
  std::string type;
  if (!fault.empty() || parser.GetType(type) != 0) return std::nullopt;
  return type;
}

std::string Messages::Build(std::string_view type, std::optional<std::string_view> data,
                            std::int32_t from, std::int32_t to) {
  TLK_XMLBuilder builder(m_codec);
  builder.CreateMessage(type, from, to);
  if (data) builder.EnsureDataElement();
  if (data && !data->empty()) builder.AppendData(*data);
  return StampAndSerialise(builder);
}

std::string Messages::Readdress(std::string_view frame, std::int32_t from, std::int32_t to) {
  TLK_XMLBuilder builder(m_codec, frame);
  builder.SetNodeAttribute(kFrom, "Id", std::to_string(from));
  builder.SetNodeAttribute(kTo, "Id", std::to_string(to));
  // The new ids may be longer or shorter, so the message is measured and stamped anew.
  return StampAndSerialise(builder);
}

}  // namespace tlk::serve
