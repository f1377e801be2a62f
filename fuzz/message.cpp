// What a peer can write into a message: to the parser, and to a control that is connected. An input
// is a path, in the first line, and a text, which a comment with the stamp makes a message.

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
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

/// A control that is connected, and what its host is told.
struct Conversation final : ITlkcEvents {
  Conversation() {
    std::int32_t connected = 0;
    control.Connect(u"127.0.0.1", 1371, &connected);
    Check(connected == 1, "the control connects");
  }

  void ConnStatusChanged(TLK_ConnStatusEnum /*status*/) override { ++statuses; }
  void TlkMsgRecieved(std::u16string_view type, std::u16string_view message) override {
    told.emplace_back(type);
    told.emplace_back(message);
  }

  int statuses = 0;
  std::vector<std::u16string> told;
  ScriptedPorts ports;
  OpenControl control{ports.ports, *this};
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

std::string Stamped(std::string text) {
  constexpr std::size_t kHead = 23;
  text.resize(std::max<std::size_t>(text.size(), 7), ' ');  // no shorter than the prefix
  char head[kHead + 1];
  std::snprintf(head, sizeof head, "<!--Length=\"%07zu\"-->", kHead + text.size());
  return head + text;
}

// A message is one event of what the parser finds in it, or none, and nothing else comes of it.
void CheckMessage(const std::string& message, std::string_view path) {
  Conversation own;
  auto& [sockets, window, strings, surroundings, files, log, platform, dom, gate, ports] =
      own.ports;
  TLK_XMLParser parser({dom, platform.text, gate, log, kMaxMessageDepth}, message);
  const bool passes = gate.Pass(message, kMaxMessageDepth).Passed();
  Check(parser.HasDocument() == passes, "the gate decides");
  std::int32_t receiver = -1;
  std::string type, data, again;
  DomNode root = nullptr;
  parser.GetReceiverId(receiver);
  parser.GetType(type);
  parser.GetData(data);
  parser.GetRootElement(root);
  Check((root != nullptr) == passes, "a document has a root");
  if (passes) {
    parser.GetAttribute(root, "Type", again);
    Check(again == type, "the type is that of the root");
    Check(parser.GetNodeXml(root, again) == 0, "the root is written");
    for (const std::string& xml : {again, data})
      if (!xml.empty()) CheckReadsBack(dom, gate, xml);
    if (IsAffordable(path, message)) CheckPath(parser, path);
  }
  if (message.find('\0') != std::string::npos) return;  // Nothing arrives whole.
  sockets.Arrive(message);
  while (sockets.HasArrivals()) window.Notify(own.control.m_socket, socket_event::kRead);
  std::vector<std::u16string> found;
  if (passes && type != kKeepAliveResponse)
    for (const std::string& text : {type, data}) platform.text.Widen(text, found.emplace_back());
  Check(own.told == found, "the host is told what the parser finds, once");
  Check(sockets.sent.empty(), "nothing is answered");
  Check(own.control.m_clientId == (passes ? receiver : -1), "the receiver is this client");
  Check(own.control.m_status == TLK_Connected && own.statuses == 1, "content ends no connection");
  Check(sockets.OpenCount() == 1, "the socket stays open");
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  const std::string input = Input(data, size).Rest();
  const std::size_t end = std::min(input.find('\n'), input.size());
  CheckMessage(Stamped(input.substr(end)), std::string_view(input).substr(0, end));
  return 0;
}
