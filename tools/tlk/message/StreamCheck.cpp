#include "tools/tlk/message/StreamCheck.h"

#include <utility>

#include "tools/tlk/Words.h"
#include "tools/tlk/message/CaptureKind.h"
#include "xml/Gate.h"
#include "xml/TLK_XMLParser.h"

namespace tlk::message {

using wire::Counted;
using wire::Finding;
using wire::JudgeEnd;
using wire::JudgeMessage;
using wire::ReadMessageText;
using wire::Sender;

namespace {

constexpr std::string_view kHowToTakeBytesOut =
    "  Unpack it if it is compressed. Wireshark takes the bytes of one direction out of packets:\n"
    "  Follow, TCP Stream, show as Raw, Save as; so does 'tcpflow -r FILE'.";

}  // namespace

StreamCheck::StreamCheck(const Codec& codec, Print print)
    : m_codec(codec), m_print(std::move(print)) {}

bool StreamCheck::Append(std::string_view bytes) {
  m_firstBytes += bytes.substr(0, kTellingBytes - m_firstBytes.size());
  if (const auto kind = ForeignKind(m_firstBytes); !kind.empty()) {
    Tell(0, {true, 0, "this is " + std::string(kind) + ", not the bytes of a stream"});
    m_print(kHowToTakeBytesOut);
    return false;
  }
  m_frames.Append(bytes);
  std::uint64_t offset = m_frames.Offset();
  while (const auto frame = m_frames.Next()) {
    CheckMessage(offset, *frame);
    offset = m_frames.Offset();
  }
  if (m_frames.Error().empty()) return true;
  Tell(0, {true, m_frames.ErrorOffset(), m_frames.Error()});
  return false;
}

void StreamCheck::End() {
  if (const auto finding = JudgeEnd(m_frames)) {
    Tell(0, *finding);
  } else if (!m_foundFault) {
    m_print("all well: " + Counted(m_messages, "message") + ", " +
            Counted(m_frames.Offset(), "byte"));
  }
}

void StreamCheck::CheckMessage(std::uint64_t offset, const std::string& frame) {
  const auto message = ReadMessageText(frame, m_codec.gate);
  auto findings = JudgeMessage(frame, message, Sender::kUnknown);
  std::string type;
  const bool hasType = message.verdict.Passed() && ReadType(frame, type, findings);
  m_print("message " + std::to_string(++m_messages) + " offset=" + std::to_string(offset) +
          " length=" + std::to_string(frame.size()) + " type=" + (hasType ? Quote(type) : "-"));
  for (const auto& finding : findings) {
    Tell(offset, finding);
  }
}

/// As a client reads it. What forbids that is found then, too.
bool StreamCheck::ReadType(const std::string& frame, std::string& type,
                           std::vector<Finding>& findings) const {
  Codec codec = m_codec;
  codec.maxDepth = kMaxMessageDepth;
  TLK_XMLParser parser(codec, frame);
  if (!parser.HasDocument()) findings = {{true, 0, "the DOM cannot load the message"}};
  return parser.GetType(type) == 0;
}

void StreamCheck::Tell(std::uint64_t offset, const Finding& finding) {
  m_foundFault = m_foundFault || finding.isFault;
  m_print((finding.isFault ? "fault at byte " : "remark at byte ") +
          std::to_string(offset + finding.position) + ": " + finding.text);
}

}  // namespace tlk::message
