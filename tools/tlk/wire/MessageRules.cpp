#include "tools/tlk/wire/MessageRules.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <utility>

#include "tools/tlk/Words.h"
#include "tools/tlk/wire/Markup.h"
#include "transport/MessageTypes.h"

namespace tlk::wire {
namespace {

constexpr std::string_view kRootTag = kMessageOpening.substr(0, kMessageOpening.find(' '));
constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kMostQuoted = 40;  ///< Bytes of a value that a finding shows.

/// The first byte that is not that of the root's opening tag; none when the message begins with it.
std::optional<std::size_t> FindStrayByte(std::string_view frame) {
  const std::size_t matched = MatchOpening(frame);
  const bool isRoot =
      matched > kRootTag.size() || (matched == kRootTag.size() && matched < frame.size() &&
                                    kBlanks.find(frame[matched]) != kBlanks.npos);
  if (isRoot) return std::nullopt;
  return matched;
}

std::string Quoted(std::string_view value) {
  return Quote(value.substr(0, kMostQuoted)) + (value.size() > kMostQuoted ? "..." : "");
}

std::optional<std::int32_t> ReadId(std::string_view value) {
  std::int32_t id = 0;
  const auto* const end = value.data() + value.size();
  const auto read = std::from_chars(value.data(), end, id);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return id;
}

bool SameButForCase(std::string_view one, std::string_view other) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [&](char a, char b) { return lower(a) == lower(b); });
}

/// Looks at one message that is XML, rule by rule.
class Judge {
 public:
  Judge(std::string_view frame, const MessageText& message, Sender sender)
      : m_frame(frame), m_message(message), m_sender(sender) {}

  std::vector<Finding> Findings() {
    JudgeRoot();
    JudgeId(MessageText::kFrom);
    JudgeId(MessageText::kTo);
    JudgeData();
    JudgeChildren();
    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](const auto& a, const auto& b) { return a.position < b.position; });
    return std::move(m_findings);
  }

 private:
  void Remark(std::string_view where, std::string text) {
    const auto position = static_cast<std::size_t>(where.data() - m_frame.data());
    m_findings.push_back({false, position, std::move(text)});
  }

  void JudgeRoot() {
    const auto length = FirstAttribute(m_message.root);
    if (length.name != "Length" || length.value.size() != kLengthDigits ||
        !m_frame.starts_with(kMessageOpening)) {
      Remark(m_frame.substr(kRootTag.size()),
             "the root does not begin with <TLK_Message Length=\"NNNNNNN\", byte for byte");
    }
    if (const auto space = FindAttribute(m_message.root, "xmlns"); space && !space->empty()) {
      Remark(*space, "the root has the namespace " + Quoted(*space) +
                         ": what takes it on from there is not found");
    }
    JudgeType();
  }

  void JudgeType() {
    const auto type = m_message.Type();
    if (!type) return Remark(m_frame, "no Type; a host is told an empty one");
    for (const std::string_view known : {kKeepAlive, kKeepAliveResponse}) {
      if (*type != known && SameButForCase(*type, known)) {
        Remark(*type, "type " + Quoted(*type) + " is not " + Quote(known) +
                          ": letters are compared as they are");
      }
    }
  }

  void JudgeId(MessageText::Child child) {
    const std::string name(MessageText::kChildNames[child]);
    const auto& tag = m_message.children[child].tag;
    const auto value = tag.empty() ? std::nullopt : FindAttribute(tag, "Id");
    if (!value) return Remark(tag.empty() ? m_frame : tag, "no " + name + " with an Id");
    JudgeNamespace(m_message.children[child], name);
    const auto id = ReadId(*value);
    if (!id) {
      Remark(*value, "the Id of " + name + ", " + Quoted(*value) +
                         ", is no signed 32-bit number: it reads as its first digits, or as 0");
    } else if (child == MessageText::kTo) {
      JudgeReceiver(*value, *id);
    }
  }

  void JudgeReceiver(std::string_view value, std::int32_t id) {
    if (m_sender == Sender::kClient && id != kServerId) {
      Remark(value, "a client's message is for " + std::to_string(id) + ", not for 0");
    }
    if (m_sender == Sender::kServer && id == -1) {
      Remark(value, "a message for -1 teaches a client no id");
    }
  }

  void JudgeData() {
    const auto& data = m_message.children[MessageText::kData];
    if (!data.tag.empty()) return JudgeNamespace(data, "Data");
    const bool isKeepAlive = m_message.Type() == kKeepAlive && m_sender != Sender::kServer;
    if (!isKeepAlive) Remark(m_frame, "no Data; a host is told an empty body, its log an error");
  }

  void JudgeNamespace(const MessageChild& child, const std::string& name) {
    const auto space = FindAttribute(child.tag, "xmlns");
    if (!space || space->empty()) return;
    Remark(*space, name + " has the namespace " + Quoted(*space) + ": it is not found");
  }

  void JudgeChildren() {
    JudgeChild(m_message.repeated.tag, " stands here again: the first one is read");
    JudgeChild(m_message.misplaced.tag, " stands too late: the order is From, To, Data");
    JudgeChild(m_message.unknown.tag, " is none of From, To and Data: nobody reads it");
  }

  void JudgeChild(std::string_view tag, const char* what) {
    if (!tag.empty()) Remark(tag, Quoted(NameOf(tag)) + what);
  }

  const std::string_view m_frame;
  const MessageText& m_message;
  const Sender m_sender;
  std::vector<Finding> m_findings;
};

}  // namespace

std::vector<Finding> JudgeMessage(std::string_view frame, const MessageText& message,
                                  Sender sender) {
  if (const auto stray = FindStrayByte(frame)) {
    return {{true, *stray, "a message begins with " + std::string(kRootTag)}};
  }
  if (const auto& verdict = message.verdict; !verdict.Passed()) {
    return {{true, verdict.position, std::string("not XML: ") + verdict.reason}};
  }
  return Judge(frame, message, sender).Findings();
}

std::optional<Finding> JudgeEnd(const FrameExtractor& frames) {
  const std::string_view rest = frames.Rest();
  const std::uint64_t begin = frames.Offset();
  const std::string message = "the message at byte " + std::to_string(begin);
  const std::size_t matched = MatchOpening(rest);
  if (rest.empty()) return std::nullopt;
  if (matched < std::min(rest.size(), kMessageOpening.size())) {
    return Finding{true, begin + matched,
                   "left over: " + Counted(rest.size(), "byte") + ", no message begins so"};
  }
  if (frames.Length() != 0) {
    return Finding{true, begin + rest.size(),
                   "the stream ends, but " + message + " lacks " +
                       Counted(frames.Length() - rest.size(), "byte")};
  }
  return Finding{true, begin + rest.size(), "the stream ends within the stamp of " + message};
}

std::string Counted(std::uint64_t count, const char* unit) {
  return std::to_string(count) + ' ' + unit + (count == 1 ? "" : "s");
}

}  // namespace tlk::wire
