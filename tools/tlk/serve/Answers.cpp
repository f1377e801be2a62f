#include "tools/tlk/serve/Answers.h"

#include <array>

#include "platform/Platform.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/serve/ScriptText.h"
#include "transport/MessageTypes.h"
#include "xml/Gate.h"

namespace tlk::serve {
namespace {

constexpr const char* kAnyType = "*";

/// What may stand behind `on TYPE`.
struct Reply {
  CommandForm form;
  bool isMessage;
};

const std::array<Reply, 2> kReplies = {{
    {{"message", 1, {{{"TYPE", WordKind::kText}, {"DATA", WordKind::kText}}}}, true},
    {{"nothing", 0}, false},
}};

}  // namespace

Answers Answers::Read(std::string_view text) {
  constexpr std::size_t kType = 1;
  constexpr std::size_t kReply = 2;
  constexpr std::size_t kData = 4;
  const XmlGate gate(SystemPlatform().text);
  Answers answers;
  for (const auto& line : SplitLines(text)) {
    const LineWords words(line);
    if (words.Words()[0] != "on") words.Fail(0, "expected on, not " + Quote(words.Words()[0]));
    if (words.Words().size() <= kType) words.Fail(kType, "expected a type or *");
    if (words.Words()[kType] == kKeepAlive) {
      words.Fail(kType, "expected another type: the server itself answers keep-alives");
    }
    const auto reply = MatchLine(kReplies, words, kReply);
    auto& messages = answers.m_byType[words.Words()[kType]];
    if (!reply.entry->isMessage) continue;
    const auto data = reply.arguments.size() > 1 ? reply.arguments[1].text : std::string();
    const auto verdict = data.empty() ? GateVerdict() : gate.Pass(data);
    if (!verdict.Passed()) {
      words.Fail(kData, "expected one element: " + std::string(verdict.reason) + " at its byte " +
                            std::to_string(verdict.position));
    }
    messages.push_back({reply.arguments[0].text, data});
  }
  return answers;
}

const Answers::Messages* Answers::Find(const std::string& type) const {
  auto found = m_byType.find(type);
  if (found == m_byType.end()) found = m_byType.find(kAnyType);
  return found == m_byType.end() ? nullptr : &found->second;
}

}  // namespace tlk::serve
