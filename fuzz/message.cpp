// What a peer can write into a message: to the parser, and to a control that is connected. An input
// is a path, in the first line, and a text, which a comment with the stamp makes a message.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "control/Tlkc.h"
#include "fuzz/Fuzzing.h"
#include "fuzz/ReadBack.h"
#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "tests/scripted/RecordingLogger.h"
#include "tests/scripted/ScriptedSockets.h"
#include "tests/scripted/ScriptedWindow.h"
#include "transport/MessageTypes.h"
#include "xml/TLK_XMLParser.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::fuzz {
namespace {

using Texts = std::pair<std::u16string, std::u16string>;

/// A control that is connected, and what its host is told.
class Conversation final : private ITlkcEvents {
 public:
  Conversation() {
    std::int32_t connected = 0;
    m_control.Connect(u"127.0.0.1", 1371, &connected);
    Check(connected == 1, "the control connects");
    statuses = 0;
    log.records.clear();
  }

  void ArriveAndRead(const std::string& message) {
    m_sockets.Arrive(message);
    while (m_sockets.HasArrivals()) m_window.Notify(m_control.m_socket, socket_event::kRead);
  }

  Texts Ask(const std::string& message) {
    m_sockets.sent.clear();
    m_sockets.Arrive(message);
    Texts reply;
    m_control.SendReceiveTlkMsg(u"Question", u"", &reply.first, &reply.second, 1);
    return reply;
  }

  [[nodiscard]] std::int32_t ClientId() const { return m_control.m_clientId; }
  [[nodiscard]] bool HasSent() const { return !m_sockets.sent.empty(); }
  [[nodiscard]] bool IsUndisturbed() const {
    return m_control.m_status == TLK_Connected && statuses == 0 && m_sockets.OpenCount() == 1;
  }

  std::vector<Texts> messages;
  int statuses = 0;
  RecordingLogger log;
  PugiDomFactory dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};

 private:
  struct OpenControl final : CTlkc {
    using CTlkc::CTlkc;
    using CTlkc::m_clientId;
    using CTlkc::m_socket;
    using CTlkc::m_status;
  };

  void ConnStatusChanged(TLK_ConnStatusEnum /*status*/) override { ++statuses; }
  void TlkMsgRecieved(std::u16string_view type, std::u16string_view message) override {
    messages.emplace_back(type, message);
  }

  test::ScriptedSockets m_sockets;
  test::ScriptedWindow m_window;
  OpenControl m_control{{m_sockets, m_window, SystemPlatform(), dom, gate, log}, *this};
};

/// What the parser alone finds in a message.
struct Found {
  Texts texts;
  std::string type;
  std::int32_t receiver = -1;
};

void CheckPath(TLK_XMLParser& parser, std::string_view path) {
  std::string text = "left alone";
  std::string xml = text;
  const int result = parser.GetNode(path, text, true);
  Check(parser.GetNode(path, xml, false) == result, "a node is there or is not");
  Check(result == 0 || xml == text, "what is not found is left alone");
  DomNode node = nullptr;
  const bool isSelected = parser.SelectSingleNode(path, node) == kDomOk;
  Check(isSelected == (node != nullptr), "what is selected is there");
  Check(isSelected || parser.GetNodeAttribute(path, "Id", text) == -1, "and nothing else is");
}

std::optional<Found> Parse(Conversation& own, const std::string& message, std::string_view path) {
  TLK_XMLParser parser({own.dom, SystemPlatform().text, own.gate, own.log, kMaxMessageDepth},
                       message);
  Check(parser.HasDocument() == own.gate.Pass(message, kMaxMessageDepth).Passed(),
        "the gate decides");
  Found found;
  std::string data;
  std::string again;
  DomNode root = nullptr;
  parser.GetReceiverId(found.receiver);
  const bool hasType = parser.GetType(found.type) == 0;
  parser.GetData(data);
  parser.GetRootElement(root);
  Check((root != nullptr) == parser.HasDocument(), "a document has a root");
  if (!parser.HasDocument()) return std::nullopt;
  Check((parser.GetAttribute(root, "Type", again) == 0) == hasType, "a root has a type or not");
  Check(again == found.type, "the type is that of the root");
  Check(parser.GetNodeXml(root, again) == 0, "the root is written");
  for (const std::string& xml : {again, data})
    if (!xml.empty()) CheckReadsBack(own.dom, own.gate, xml);
  if (IsAffordable(path, message)) CheckPath(parser, path);
  SystemPlatform().text.Widen(found.type, found.texts.first);
  SystemPlatform().text.Widen(data, found.texts.second);
  return found;
}

/// What comes by itself: one event and its record at most, and nothing else.
void CheckNotified(const std::string& message, const std::optional<Found>& found) {
  Conversation conversation;
  conversation.ArriveAndRead(message);
  std::vector<Texts> expected;
  std::vector<std::string> expectedRecords;
  if (found && found->type != kKeepAliveResponse) {
    expected.push_back(found->texts);
    expectedRecords.push_back("Message Recieved. " + found->type + "\n");
  }
  std::vector<std::string> records;
  for (const LogRecord& record : conversation.log.records)
    if (record.source == "Tlkc") records.push_back(record.text);
  Check(conversation.messages == expected, "the host is told what the parser finds, once");
  Check(records == expectedRecords, "each event has its record, whole");
  Check(!conversation.HasSent(), "nothing is answered");
  Check(conversation.ClientId() == (found ? found->receiver : -1), "the receiver is this client");
  Check(conversation.IsUndisturbed(), "content ends no connection");
}

/// What comes as a reply.
void CheckReplied(const std::string& message, const std::optional<Found>& found) {
  Conversation conversation;
  Check(conversation.Ask(message) == (found ? found->texts : Texts()),
        "a reply is what the parser finds");
  Check(conversation.messages.empty() && conversation.IsUndisturbed(), "a reply is no event");
}

std::string Stamped(std::string_view text) {
  constexpr const char* kComment = "<!--Length=\"%07zu\"-->";
  constexpr std::size_t kCommentLength = 23;
  std::string head(kCommentLength + 1, '\0');
  const std::string behind(text.size() < 7 ? 7 : 0, ' ');  // to be no shorter than the prefix
  std::snprintf(head.data(), head.size(), kComment, kCommentLength + text.size() + behind.size());
  head.pop_back();
  return head.append(text).append(behind);
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  const std::string input = Input(data, size).Rest();
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string message = Stamped(std::string_view(input).substr(end));
  Conversation own;
  const auto found = Parse(own, message, std::string_view(input).substr(0, end));
  if (message.find('\0') != std::string::npos) return 0;  // nothing arrives whole
  CheckNotified(message, found);
  CheckReplied(message, found);
  return 0;
}
