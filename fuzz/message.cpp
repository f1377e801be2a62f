// What a peer can write into a message: to the parser, and to a control that is connected. An input
// is a path, in the first line, and a text, which a comment with the stamp makes a message.

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/Fuzzing.h"
#include "fuzz/ReadBack.h"
#include "fuzz/ScriptedControl.h"
#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "transport/MessageTypes.h"
#include "xml/TLK_XMLParser.h"

namespace tlk::fuzz {
namespace {

using Texts = std::pair<std::u16string, std::u16string>;

/// A control that is connected, and what its host is told.
struct Conversation final : ITlkcEvents {
  Conversation() {
    std::int32_t connected = 0;
    control.Connect(u"127.0.0.1", 1371, &connected);
    Check(connected == 1, "the control connects");
    statuses = 0;
    log.records.clear();
  }

  void ConnStatusChanged(TLK_ConnStatusEnum /*status*/) override { ++statuses; }
  void TlkMsgRecieved(std::u16string_view type, std::u16string_view message) override {
    messages.emplace_back(type, message);
  }

  void CheckUndisturbed() const {
    Check(control.m_status == TLK_Connected && statuses == 0, "content ends no connection");
    Check(sockets.OpenCount() == 1, "the socket stays open");
  }

  int statuses = 0;
  std::vector<Texts> messages;
  RecordingLogger log;
  PugiDomFactory dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};
  test::ScriptedSockets sockets;
  test::ScriptedWindow window;
  OpenControl control{{sockets, window, SystemPlatform(), dom, gate, log}, *this};
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
  DomNode node = nullptr;
  const int result = parser.GetNode(path, text, true);
  Check(parser.GetNode(path, xml, false) == result, "a node is there or is not");
  Check(result == 0 || xml == text, "what is not found is left alone");
  const bool isSelected = parser.SelectSingleNode(path, node) == kDomOk;
  Check(isSelected == (node != nullptr), "what is selected is there");
  Check(isSelected || parser.GetNodeAttribute(path, "Id", text) == -1, "and nothing else is");
}

std::optional<Found> Parse(const std::string& message, std::string_view path) {
  Conversation own;
  const AnsiText& text = SystemPlatform().text;
  TLK_XMLParser parser({own.dom, text, own.gate, own.log, kMaxMessageDepth}, message);
  const bool passes = own.gate.Pass(message, kMaxMessageDepth).Passed();
  Check(parser.HasDocument() == passes, "the gate decides");
  Found found;
  std::string data;
  std::string again;
  DomNode root = nullptr;
  parser.GetReceiverId(found.receiver);
  parser.GetType(found.type);
  parser.GetData(data);
  parser.GetRootElement(root);
  Check((root != nullptr) == passes, "a document has a root");
  if (!passes) return std::nullopt;
  parser.GetAttribute(root, "Type", again);
  Check(again == found.type, "the type is that of the root");
  Check(parser.GetNodeXml(root, again) == 0, "the root is written");
  for (const std::string& xml : {again, data})
    if (!xml.empty()) CheckReadsBack(own.dom, own.gate, xml);
  if (IsAffordable(path, message)) CheckPath(parser, path);
  text.Widen(found.type, found.texts.first);
  text.Widen(data, found.texts.second);
  return found;
}

/// As much of a record as a log keeps.
std::string Kept(const std::string& record) { return record.substr(0, 8192); }

/// What comes by itself: one event and its record at most, and nothing else.
void CheckNotified(const std::string& message, const std::optional<Found>& found) {
  Conversation own;
  own.sockets.Arrive(message);
  while (own.sockets.HasArrivals()) own.window.Notify(own.control.m_socket, socket_event::kRead);
  std::vector<Texts> expected;
  std::vector<std::string> expectedRecords;
  if (found && found->type != kKeepAliveResponse) {
    expected.push_back(found->texts);
    expectedRecords.push_back(Kept("Message Recieved. " + found->type + "\n"));
  }
  std::vector<std::string> records;
  for (const LogRecord& record : own.log.records)
    if (record.source == "Tlkc") records.push_back(Kept(record.text));
  Check(own.messages == expected, "the host is told what the parser finds, once");
  Check(records == expectedRecords, "each event has its record");
  Check(own.sockets.sent.empty(), "nothing is answered");
  Check(own.control.m_clientId == (found ? found->receiver : -1), "the receiver is this client");
  own.CheckUndisturbed();
}

void CheckReplied(const std::string& message, const std::optional<Found>& found) {
  Conversation own;
  Texts reply;
  own.sockets.Arrive(message);
  own.control.SendReceiveTlkMsg(u"Question", u"", &reply.first, &reply.second, 1);
  Check(reply == (found ? found->texts : Texts()), "a reply is what the parser finds");
  Check(own.messages.empty(), "a reply is no event");
  own.CheckUndisturbed();
}

std::string Stamped(std::string text) {
  constexpr std::size_t kHead = 23;
  text.resize(std::max<std::size_t>(text.size(), 7), ' ');  // no shorter than the prefix
  char head[kHead + 1];
  std::snprintf(head, sizeof head, "<!--Length=\"%07zu\"-->", kHead + text.size());
  return head + text;
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  const std::string input = Input(data, size).Rest();
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string message = Stamped(input.substr(end));
  const auto found = Parse(message, std::string_view(input).substr(0, end));
  if (message.find('\0') != std::string::npos) return 0;  // nothing arrives whole
  CheckNotified(message, found);
  CheckReplied(message, found);
  return 0;
}
