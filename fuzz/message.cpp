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
  }

  void ConnStatusChanged(TLK_ConnStatusEnum /*status*/) override { ++statuses; }
  void TlkMsgRecieved(std::u16string_view type, std::u16string_view message) override {
    messages.emplace_back(type, message);
  }

  int statuses = 0;
  std::vector<Texts> messages;
  ScriptedPorts ports;
  OpenControl control{ports.ports, *this};
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
  ScriptedPorts own;
  const AnsiText& text = own.platform.text;
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

/// What comes by itself is one event at most, and nothing else.
void CheckNotified(const std::string& message, const std::optional<Found>& found) {
  Conversation own;
  own.ports.sockets.Arrive(message);
  while (own.ports.sockets.HasArrivals())
    own.ports.window.Notify(own.control.m_socket, socket_event::kRead);
  std::vector<Texts> expected;
  if (found && found->type != kKeepAliveResponse) expected.push_back(found->texts);
  Check(own.messages == expected, "the host is told what the parser finds, once");
  Check(own.ports.sockets.sent.empty(), "nothing is answered");
  Check(own.control.m_clientId == (found ? found->receiver : -1), "the receiver is this client");
  Check(own.control.m_status == TLK_Connected && own.statuses == 0, "content ends no connection");
  Check(own.ports.sockets.OpenCount() == 1, "the socket stays open");
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
  return 0;
}
