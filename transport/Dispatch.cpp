#include <new>
#include <utility>

#include "control/FiringScope.h"
#include "control/HostText.h"
#include "control/Tlkc.h"
#include "transport/MessageTypes.h"
#include "transport/TraceLog.h"
#include "xml/TLK_XMLParser.h"

namespace tlk {

namespace {

// What the server has sent must not be taken for missing.
void EnsureMemory(const TLK_XMLParser& parser) {
  if (parser.LacksMemory()) throw std::bad_alloc();
}

}  // namespace

Codec CTlkc::MessageCodec() const {
  return {m_ports.dom, m_ports.platform.text, m_ports.gate, m_ports.log};
}

void CTlkc::HandleMessage(std::string text) {
  std::string type;
  std::string data;
  if (ParseMessage(std::move(text), type, data) == Outcome::kFailed) return;
  if (type == kKeepAliveResponse) return;
  if (m_firingMessage) {
    LogNormal(trace::kMessageSkipped, type);
    return;
  }
  RaiseMessage(type, data);
}

// The answer to a keep-alive is handed out like any other message: whoever waits for a reply takes
// the next message, whatever it is.
Outcome CTlkc::ParseMessage(std::string text, std::string& type, std::string& data) {
  Codec codec = MessageCodec();
  codec.maxDepth = kMaxMessageDepth;
  // The document has its own copy, and a large message is large enough once.
  TLK_XMLParser parser(codec, std::exchange(text, {}));
  EnsureMemory(parser);
  if (!parser.HasDocument()) return Outcome::kFailed;
  if (m_clientId == -1) parser.GetReceiverId(m_clientId);
  parser.GetType(type);
  parser.GetData(data);
  EnsureMemory(parser);
  return Outcome::kDone;
}

void CTlkc::RaiseMessage(const std::string& type, const std::string& data) {
  const auto wideType = WideResult(m_ports.platform.text, type);
  const auto wideData = WideResult(m_ports.platform.text, data);
  const FiringScope firing(m_firingMessage);
  LogNormal(trace::kMessageReceived, type);
  m_events.TlkMsgRecieved(wideType, wideData);
}

}  // namespace tlk
