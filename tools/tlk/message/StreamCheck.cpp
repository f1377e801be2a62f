#include "tools/tlk/message/StreamCheck.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "tools/tlk/Words.h"
#include "xml/Gate.h"
#include "xml/TLK_XMLParser.h"

namespace tlk::message {
namespace {

constexpr std::string_view kRootTag = kMessageOpening.substr(0, kMessageOpening.find(' '));
constexpr std::string_view kBlanks = " \t\r\n";

/// The first byte that is not that of the root's opening tag; none when the message begins with it.
std::optional<std::size_t> FindStrayByte(std::string_view frame) {
  const std::size_t matched = MatchOpening(frame);
  const bool isRoot = matched > kRootTag.size() ||
                      (matched == kRootTag.size() && kBlanks.find(frame[matched]) != kBlanks.npos);
  if (isRoot) return std::nullopt;
  return matched;
}

std::string Counted(std::uint64_t count, const char* unit) {
  return std::to_string(count) + ' ' + unit + (count == 1 ? "" : "s");
}

}  // namespace

/// What a message is found to be.
struct StreamCheck::Finding {
  std::optional<std::string> type;
  std::string fault;
  std::size_t position = 0;  ///< Of the fault, in the message.
};

StreamCheck::StreamCheck(const Codec& codec, Print print)
    : m_codec(codec), m_print(std::move(print)) {}

bool StreamCheck::Append(std::string_view bytes) {
  m_frames.Append(bytes);
  std::uint64_t offset = m_frames.Offset();
  while (const auto frame = m_frames.Next()) {
    CheckMessage(offset, *frame);
    offset = m_frames.Offset();
  }
  if (m_frames.Error().empty()) return true;
  Fault(m_frames.ErrorOffset(), m_frames.Error());
  return false;
}

void StreamCheck::End() {
  const std::string_view rest = m_frames.Rest();
  const std::uint64_t begin = m_frames.Offset();
  const std::string message = "the message at byte " + std::to_string(begin);
  const std::size_t matched = MatchOpening(rest);
  if (matched < std::min(rest.size(), kMessageOpening.size())) {
    Fault(begin + matched, "left over: " + Counted(rest.size(), "byte") + ", no message begins so");
  } else if (m_frames.Length() != 0) {
    Fault(begin + rest.size(), "the stream ends, but " + message + " lacks " +
                                   Counted(m_frames.Length() - rest.size(), "byte"));
  } else if (!rest.empty()) {
    Fault(begin + rest.size(), "the stream ends within the stamp of " + message);
  } else if (!m_foundFault) {
    m_print("all well: " + Counted(m_messages, "message") + ", " + Counted(begin, "byte"));
  }
}

void StreamCheck::CheckMessage(std::uint64_t offset, const std::string& frame) {
  const Finding found = Examine(frame);
  m_print("message " + std::to_string(++m_messages) + " offset=" + std::to_string(offset) +
          " length=" + std::to_string(frame.size()) +
          " type=" + (found.type ? Quote(*found.type) : "-"));
  if (!found.fault.empty()) {
    Fault(offset + found.position, found.fault);
  } else if (!found.type) {
    m_print("remark at byte " + std::to_string(offset) + ": no Type; a host is told an empty one");
  }
}

StreamCheck::Finding StreamCheck::Examine(std::string_view frame) const {
  Finding finding;
  Codec codec = m_codec;
  codec.maxDepth = kMaxMessageDepth;
  const GateVerdict verdict = codec.gate.Pass(frame, codec.maxDepth);
  if (verdict.Passed()) {
    TLK_XMLParser parser(codec, frame);
    std::string type;
    if (parser.GetType(type) == 0) finding.type = type;
    if (!parser.HasDocument()) finding.fault = "the DOM cannot load the message";
  } else {
    finding.fault = std::string("not XML: ") + verdict.reason;
    finding.position = verdict.position;
  }
  if (const auto stray = FindStrayByte(frame)) {
    finding.fault = "a message begins with " + std::string(kRootTag);
    finding.position = *stray;
  }
  return finding;
}

void StreamCheck::Fault(std::uint64_t offset, const std::string& what) {
  m_foundFault = true;
  m_print("fault at byte " + std::to_string(offset) + ": " + what);
}

}  // namespace tlk::message
